"""FallcatchSetReportInterval, FallcatchRelease and what runs when the library is loaded."""

from support import ALL_SLICES, bridge, on_slices


@on_slices(ALL_SLICES)
class FallcatchSetReportInterval:
    def check(self, interval):
        bridge_ = bridge(self.slice)
        bridge_.set_report_interval(0x5EED, interval)
        self.assertEqual(bridge_.world.events, [
            "pool1 = [NSAutoreleasePool alloc]",
            "[pool1 init]",
            "string1 = [NSString alloc]",
            f'[string1 initWithFormat:@"%d", {interval}]',
            'BreakpadSetKeyValue(0x5eed, @"BreakpadReportInterval", string1)',
            "[pool1 release]",
        ])
        self.assertEqual(bridge_.world.unreleased(), ["string1"])

    def test_hands_the_number_on_as_text(self):
        self.check(3600)

    def test_takes_negative_and_extreme_numbers(self):
        for interval in (0, -1, 2147483647, -2147483648):
            self.check(interval)

    def test_does_not_look_at_the_handle(self):
        bridge_ = bridge(self.slice)
        bridge_.set_report_interval(0, 1)
        self.assertIn('BreakpadSetKeyValue(0x0, @"BreakpadReportInterval", string1)', bridge_.world.events)


@on_slices(ALL_SLICES)
class FallcatchRelease:
    def test_releases_the_reporter_and_does_nothing_else(self):
        for handle in (0x5EED, 0):
            bridge_ = bridge(self.slice)
            bridge_.release(handle)
            self.assertEqual(bridge_.world.events, [f"BreakpadRelease({handle:#x})"])
            self.assertEqual(bridge_.imports.called, ["_BreakpadRelease"])


@on_slices(ALL_SLICES)
class Loading:
    def test_makes_the_collection_thread_object_and_no_log_manager(self):
        self.assertEqual(bridge(self.slice).initialiser_events, [
            "atexit",  # the functions to run at a thread's start
            "operator new",  # the thread object's platform record and run wrapper
            "operator new",
            "string.assign('HSL::Collection')",
            "atexit",
        ])


@on_slices(ALL_SLICES)
class ObjectiveCRuntime:
    """Which of the runtime's functions the compiler picks depends on the oldest system that a slice is for."""

    EXPECTED = {
        "x86_64": {"_objc_alloc", "_objc_msgSend", "_objc_release"},
        "arm64": {"_objc_alloc", "_objc_alloc_init", "_objc_msgSend", "_objc_release"},
        "i386": {"_objc_msgSend"},
    }

    def test_is_entered_only_where_the_oldest_system_has_it(self):
        bridge_ = bridge(self.slice)
        bridge_.init("u", ["ver=1"])
        called = {name for name in bridge_.imports.called if name.startswith("_objc_")}
        self.assertEqual(called, self.EXPECTED[self.slice])
