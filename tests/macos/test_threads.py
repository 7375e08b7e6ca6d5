"""KxThread as built for macOS: what it asks of the system, on every slice."""

from platform_objects import Library, Thread, int32
from support import ALL_SLICES, on_slices

JOINABLE, FIFO = 1, 4  # Darwin's numbers
SELF = 0x7001
STEPS = [15, 19, 22, 25, 28, 31, 32, 34, 35, 37, 39, 40, 42, 43, 45, 47]


@on_slices(ALL_SLICES)
class KxThread:
    def setUp(self):
        self.library = Library(self.slice)
        self.system = self.library.system
        self.system.results.update(
            {"sched_get_priority_min": 15, "sched_get_priority_max": 47, "pthread_self": SELF})
        self.given = []
        self.system.hooks["pthread_attr_setschedparam"] = (
            lambda _attr, parameter: self.given.append(int32(self.library.machine.number(parameter, 4))))
        self.created = []
        self.system.hooks["pthread_create"] = lambda *arguments: self.created.append(arguments)
        self.shown_names = []
        self.system.hooks["pthread_setname_np"] = (
            lambda name: self.shown_names.append(self.library.machine.text(name)))

    def test_is_made_idle_and_in_the_middle(self):
        thread = Thread(self.library)
        machine = self.library.machine
        self.assertEqual(machine.number(thread.priority, 4), 1005)
        self.assertEqual(int32(machine.number(thread.reserved, 4)), -1)
        self.assertEqual(machine.number(thread.platform_data), 0)
        self.assertFalse(thread.is_running())
        self.assertEqual(self.library.call("__ZN8KxThread5GetIdEv", thread.address), 0)

    def test_has_its_operations_in_the_order_of_their_slots(self):
        slots = Thread(self.library).slots
        self.assertEqual(slots[2], self.library.symbol("__ZN8KxThread5StartEv"))
        self.assertEqual(slots[3], self.library.symbol("__ZN8KxThread11WaitForExitEv"))

    def test_start_asks_for_a_joinable_thread_with_darwins_numbers(self):
        thread = Thread(self.library)
        thread.start()
        self.assertEqual(self.library.events, [
            "pthread_attr_init(...)",
            f"pthread_attr_setdetachstate(..., {JOINABLE})",
            f"pthread_attr_setschedpolicy(..., {FIFO})",
            f"sched_get_priority_min({FIFO})",
            f"sched_get_priority_max({FIFO})",
            "pthread_attr_setschedparam(..., ...)",
            "pthread_create(handle, ..., ..., thread)",
        ])
        self.assertEqual(self.given, [31])
        self.assertTrue(thread.is_running())

    def test_every_step_of_the_scale_has_its_priority(self):
        thread = Thread(self.library)
        for step in range(-1, 17):
            self.library.machine.set_number(thread.priority, 1000 + step, 4)
            thread.set_running(False)
            thread.start()
        self.assertEqual(self.given, [31] + STEPS + [31])

    def test_start_on_a_running_thread_does_nothing(self):
        thread = Thread(self.library)
        thread.set_running(True)
        thread.start()
        self.assertEqual(self.library.events, [])

    def test_start_keeps_it_running_when_no_thread_could_be_made(self):
        self.system.results["pthread_create"] = 35
        thread = Thread(self.library)
        thread.start()
        self.assertTrue(thread.is_running())

    def test_the_new_thread_is_named_then_runs_then_is_idle(self):
        seen = []
        thread = Thread(self.library, lambda: seen.append(thread.is_running()))
        thread.start()
        self.library.events.clear()
        (_handle, _attributes, routine, argument), = self.created
        self.assertEqual(self.library.machine.call(routine, argument), 0)
        self.assertEqual(self.library.events, ["pthread_setname_np(...)"])
        self.assertEqual(self.shown_names, ["unnamed"])
        self.assertEqual(seen, [True])
        self.assertFalse(thread.is_running())

    def test_an_empty_name_shows_as_bonehead(self):
        thread = Thread(self.library)
        thread.set_empty_name()
        self.library.call("__ZN8KxThread11ThreadStartEPS_", thread.address)
        self.assertEqual(self.shown_names, ["BONEHEAD"])

    def test_a_long_name_is_handed_on_whole(self):
        name = self.library.machine.store(b"x" * 63 + b"\0")
        self.library.call("__Z22KxSetCurrentThreadNamePKc", name)
        self.assertEqual(self.shown_names, ["x" * 63])

    def test_the_body_without_a_thread_names_nothing(self):
        self.library.events.clear()
        self.library.call("__ZN8KxThread11ThreadStartEPS_", 0)
        self.assertEqual(self.library.events, [])

    def test_waiting_joins_without_asking_for_a_value(self):
        self.system.results["pthread_join"] = 22
        thread = Thread(self.library)
        thread.start()
        self.library.machine.set_number(thread.platform_data, SELF)
        self.system.names[SELF] = "the thread"
        self.library.events.clear()
        self.assertEqual(self.library.call("__ZN8KxThread11WaitForExitEv", thread.address), 22)
        self.assertEqual(self.library.events, ["pthread_join(the thread, null)"])

    def test_only_the_thread_that_initialised_is_the_main_one(self):
        call = self.library.call
        self.assertEqual(call("__ZN8KxThread12IsMainThreadEv") & 0xFF, 0)
        call("__ZN8KxThread10InitializeEv")
        self.assertEqual(call("__ZN8KxThread12MainThreadIDEv"), SELF)
        self.assertEqual(call("__ZN8KxThread12IsMainThreadEv") & 0xFF, 1)
        self.system.results["pthread_self"] = SELF + 1
        self.assertEqual(call("__ZN8KxThread12IsMainThreadEv") & 0xFF, 0)
        self.assertEqual(call("__ZN8KxThread12GetCurrentIdEv"), SELF + 1)


@on_slices(ALL_SLICES)
class KxThreadSleep:
    def check(self, microseconds, sleeps, result):
        library = Library(self.slice)
        library.events.clear()
        library.system.results["usleep"] = [10 * (i + 1) for i in range(len(sleeps))]
        self.assertEqual(
            int32(library.call("__ZN8KxThread5SleepERK6KxTime", library.time(microseconds))), result)
        self.assertEqual(library.events, [f"usleep({sleep})" for sleep in sleeps])

    def test_whole_seconds_come_one_at_a_time_and_then_the_rest(self):
        self.check(2500000, [1000000, 1000000, 500000], 30)

    def test_less_than_a_second_is_one_call(self):
        self.check(999999, [999999], 10)

    def test_an_exact_second_is_followed_by_a_sleep_of_nothing(self):
        self.check(1000000, [1000000, 0], 20)

    def test_a_negative_time_is_handed_on_as_unsigned(self):
        self.check(-1, [4294967295], 10)

    def test_a_number_is_handed_on_as_it_is(self):
        library = Library(self.slice)
        library.events.clear()
        library.system.results["usleep"] = -1
        self.assertEqual(int32(library.call("__ZN8KxThread5SleepEi", 2500000)), -1)
        self.assertEqual(library.events, ["usleep(2500000)"])

    def test_an_endless_time_sleeps_again_and_again(self):
        library = Library(self.slice)
        library.events.clear()

        class Enough(Exception):
            pass

        def count(_microseconds):
            if len(library.events) == 5:
                raise Enough
        library.system.hooks["usleep"] = count
        with self.assertRaises(Enough):
            library.call("__ZN8KxThread5SleepERK6KxTime", library.time(1, is_infinite=True))
        self.assertEqual(library.events, ["usleep(1000000000)"] * 5)
