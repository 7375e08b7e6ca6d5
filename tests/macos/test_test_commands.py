"""GetTestCommandsList on every slice: codes, messages to the log, messages to objects."""

from bridge import NOT_WRITTEN
from foundation import World
from support import ALL_SLICES, bridge, on_slices

TYPES = ["TC_AR", "TC_GC", "TC_DIV0", "TC_DER0", "TC_PUREV", "TC_RECOVERABLE", "TC_NONRECOVERABLE",
         "TC_CONSTRUCTWITHNULL"]
PATH = "/Applications/Host.app/Contents/MacOS/Host"
ENTRY = r"HSLog([3], 'Checking command line for crash test parameters\n')"
NONE_FOUND = r"HSLog([3], 'No crash test parameters found\n')"
MAIN_THREAD = r"HSLog([3], 'Received instruction to crash on main thread\n')"
WORKER_THREAD = r"HSLog([3], 'Received instruction to crash on workder thread\n')"
BEGINNING = [
    ENTRY,
    "pool1 = [NSAutoreleasePool alloc]",
    "[pool1 init]",
    "process = [NSProcessInfo processInfo]",
    "arguments1 = [process arguments]",
    "[arguments1 count]",
]
END = ["[pool1 release]"]


def passed_over(index):
    return [
        f"[arguments1 objectAtIndex:{index}]",
        f'[argument{index} compare:@"-tcmt"]',
        f'[argument{index} compare:@"-tcwt"]',
    ]


def main_switch(index):
    return passed_over(index)[:2] + [MAIN_THREAD]


def worker_switch(index):
    return passed_over(index) + [WORKER_THREAD]


def compared_with(index, types):
    return [f"[arguments1 objectAtIndex:{index}]"] + [f'[argument{index} compare:@"{t}"]' for t in types]


def crash_type(index, code):
    return compared_with(index, TYPES[:code + 1]) + [
        rf"HSLog([3], 'Crash type: %s\n', pointer to argument{index})"]


def unknown_type(index):
    return compared_with(index, TYPES) + [
        rf"HSLog([3], 'Unknown crash test case instruction: %s\n', pointer to argument{index})"]


@on_slices(ALL_SLICES)
class GetTestCommandsList:
    def check(self, arguments, codes, events, **options):
        bridge_ = bridge(self.slice, World(arguments=[PATH, *arguments]))
        count, entries = bridge_.test_commands(**options)
        self.assertEqual(entries, codes + [NOT_WRITTEN] * (2 - len(codes)))
        self.assertEqual(count, len(codes))
        self.assertEqual(bridge_.world.events, BEGINNING + events)
        return bridge_

    def test_finds_the_worker_thread_and_a_type(self):
        bridge_ = self.check(
            ["-tcwt", "TC_DIV0"], [1, 2], passed_over(0) + worker_switch(1) + crash_type(2, 2) + END)
        self.assertEqual(bridge_.world.unreleased(), [])

    def test_looks_at_nothing_behind_the_type(self):
        self.check(
            ["-tcmt", "TC_CONSTRUCTWITHNULL", "-tcwt", "TC_AR"], [0, 7],
            passed_over(0) + main_switch(1) + crash_type(2, 7) + END)

    def test_knows_every_type_by_its_place(self):
        for code, word in enumerate(TYPES):
            self.check(["-tcmt", word], [0, code], passed_over(0) + main_switch(1) + crash_type(2, code) + END)

    def test_a_switch_at_the_end_gives_one_code(self):
        self.check(["-tcmt"], [0], passed_over(0) + main_switch(1) + END)

    def test_a_second_switch_is_an_unknown_type(self):
        self.check(["-tcmt", "-tcwt"], [0], passed_over(0) + main_switch(1) + unknown_type(2) + END)

    def test_a_type_must_match_in_case(self):
        self.check(["-tcwt", "tc_ar"], [1], passed_over(0) + worker_switch(1) + unknown_type(2) + END)

    def test_a_type_without_a_switch_is_passed_over(self):
        self.check(["TC_GC"], [], passed_over(0) + passed_over(1) + END)

    def test_a_switch_may_follow_other_arguments(self):
        self.check(
            ["-psn_0_1", "-tcmt", "TC_GC"], [0, 1],
            passed_over(0) + passed_over(1) + main_switch(2) + crash_type(3, 1) + END)

    def test_the_programs_own_path_is_looked_at_too(self):
        bridge_ = bridge(self.slice, World(arguments=["-tcwt", "TC_GC"]))
        self.assertEqual(bridge_.test_commands(), (2, [1, 1]))
        self.assertEqual(bridge_.world.events, BEGINNING + worker_switch(0) + crash_type(1, 1) + END)

    def test_fewer_than_two_arguments_leave_the_pool_unreleased(self):
        bridge_ = self.check([], [], [NONE_FOUND])
        self.assertEqual(bridge_.world.unreleased(), ["pool1"])

    def test_no_arguments_at_all_are_fewer_than_two(self):
        bridge_ = bridge(self.slice, World(arguments=[]))
        self.assertEqual(bridge_.test_commands(), (0, [NOT_WRITTEN, NOT_WRITTEN]))
        self.assertEqual(bridge_.world.events, BEGINNING + [NONE_FOUND])

    def test_the_capacity_does_not_matter(self):
        for capacity in (0, 1, -1):
            self.check(
                ["-tcwt", "TC_AR"], [1, 0], passed_over(0) + worker_switch(1) + crash_type(2, 0) + END,
                capacity=capacity)

    def test_logging_calls_nothing_while_there_is_no_manager(self):
        bridge_ = bridge(self.slice, World(arguments=[PATH]), logs=False)
        bridge_.test_commands()
        self.assertEqual(
            [name for name in bridge_.imports.called if not name.startswith("_objc_")], [])
        self.assertEqual([event for event in bridge_.world.events if event.startswith("HSLog")], [])
