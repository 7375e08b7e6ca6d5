"""KxMutex, KxLock and KxTime as built for macOS, on every slice."""

import struct

from platform_objects import Library, int32
from support import ALL_SLICES, on_slices

RECURSIVE, INHERIT = 2, 1  # Darwin's numbers
MUTEX_SIZE = {8: 64, 4: 44}  # of Darwin's pthread_mutex_t, by the width of a pointer
ATTRIBUTE_SIZE = {8: 16, 4: 12}


@on_slices(ALL_SLICES)
class KxMutex:
    def setUp(self):
        self.library = Library(self.slice)
        self.library.events.clear()
        width = self.library.width
        self.data = self.library.machine.allocate(256)
        self.status = self.data + MUTEX_SIZE[width] + ATTRIBUTE_SIZE[width]
        self.library.system.names.update(
            {self.data: "mutex", self.data + MUTEX_SIZE[width]: "attribute"})

    def make_data(self):
        self.library.call("__ZN19KxMutexPlatformDataC1Ev", self.data)

    def test_is_recursive_and_inherits_priority_with_darwins_numbers(self):
        self.make_data()
        self.assertEqual(self.library.events, [
            "pthread_mutexattr_init(attribute)",
            f"pthread_mutexattr_settype(attribute, {RECURSIVE})",
            f"pthread_mutexattr_setprotocol(attribute, {INHERIT})",
            "pthread_mutex_init(mutex, attribute)",
        ])

    def test_only_the_last_step_decides_whether_it_is_usable(self):
        results = self.library.system.results
        results.update({"pthread_mutexattr_init": 1, "pthread_mutexattr_settype": 2,
                        "pthread_mutexattr_setprotocol": 3})
        self.make_data()
        self.assertEqual(self.library.machine.number(self.status, 4), 0)
        results["pthread_mutex_init"] = 4
        self.make_data()
        self.assertEqual(self.library.machine.number(self.status, 4), 4)

    def test_a_dead_one_is_not_destroyed_but_its_attribute_is(self):
        self.make_data()
        for status, events in (
                (0, ["pthread_mutex_destroy(mutex)", "pthread_mutexattr_destroy(attribute)"]),
                (4, ["pthread_mutexattr_destroy(attribute)"])):
            self.library.machine.set_number(self.status, status, 4)
            self.library.events.clear()
            self.library.call("__ZN19KxMutexPlatformDataD1Ev", self.data)
            self.assertEqual(self.library.events, events)

    def mutex(self):
        """A KxMutex: table of operations, name, count, platform data."""
        address = self.library.machine.allocate(128)
        self.library.call("__ZN7KxMutexC1Ev", address)
        count = address + 4 * self.library.width
        data = self.library.machine.number(-(-(count + 4) // self.library.width) * self.library.width)
        self.library.system.names[data] = "mutex"
        self.library.events.clear()
        return address, count, data

    def test_counts_how_often_it_is_held(self):
        address, count, _data = self.mutex()
        for operation, result, held in (
                ("Lock", 1, 1), ("TryLock", 1, 2), ("Unlock", None, 1), ("Unlock", None, 0)):
            returned = self.library.call(f"__ZN7KxMutex{len(operation)}{operation}Ev", address) & 0xFF
            if result is not None:
                self.assertEqual(returned, result)
            self.assertEqual(self.library.machine.number(count, 4), held)
        self.assertEqual(self.library.events, [
            "pthread_mutex_lock(mutex)", "pthread_mutex_trylock(mutex)",
            "pthread_mutex_unlock(mutex)", "pthread_mutex_unlock(mutex)"])

    def test_trying_a_busy_one_fails_and_counts_nothing(self):
        address, count, _data = self.mutex()
        self.library.system.results["pthread_mutex_trylock"] = 16
        self.assertEqual(self.library.call("__ZN7KxMutex7TryLockEv", address) & 0xFF, 0)
        self.assertEqual(self.library.machine.number(count, 4), 0)

    def test_a_dead_one_asks_nothing_of_the_system(self):
        address, count, data = self.mutex()
        width = self.library.width
        self.library.machine.set_number(data + MUTEX_SIZE[width] + ATTRIBUTE_SIZE[width], 22, 4)
        self.assertEqual(self.library.call("__ZN7KxMutex4LockEv", address) & 0xFF, 0)
        self.assertEqual(self.library.call("__ZN7KxMutex7TryLockEv", address) & 0xFF, 0)
        self.library.call("__ZN7KxMutex6UnlockEv", address)
        self.assertEqual(self.library.events, [])
        self.assertEqual(self.library.machine.number(count, 4), 0)


@on_slices(ALL_SLICES)
class KxTime:
    def setUp(self):
        self.library = Library(self.slice)
        self.library.events.clear()

    def set_clock(self, seconds, microseconds):
        # Darwin's struct timeval: seconds as wide as a pointer, microseconds in 32 bits.
        layout = "<qi" if self.library.width == 8 else "<ii"

        def fill(place, _zone):
            self.library.machine.uc.mem_write(place, struct.pack(layout, seconds, microseconds))
        self.library.system.hooks["gettimeofday"] = fill

    def now(self):
        time = self.library.time(microseconds=5, is_infinite=True)
        self.library.call("__ZN6KxTime16SetToCurrentTimeEv", time)
        self.assertEqual(self.library.machine.number(time, 1), 0)
        return self.library.time_value(time)

    def test_is_read_from_darwins_clock(self):
        self.set_clock(1700000000, 999999)
        self.assertEqual(self.now(), 1700000000999999)

    def test_seconds_pass_through_a_signed_32_bit_number(self):
        # On 32-bit x86 the clock itself is no wider.
        self.set_clock(0x80000000 if self.library.width == 8 else -0x80000000, 1)
        self.assertEqual(self.now(), -2147483648 * 1000000 + 1)

    def test_is_none_where_the_clock_cannot_be_read(self):
        self.set_clock(1, 1)
        self.library.system.results["gettimeofday"] = -1
        self.assertEqual(self.now(), 0)

    def test_converts_to_durations_of_32_bits(self):
        for microseconds, duration in (
                (0, 0), (1, -1), (2147483648, -2147483648), (2147483649, 2147483647),
                (262144 * 1000000, 262144000), (-5, 5)):
            self.assertEqual(
                int32(self.library.call("__Z26ConvertKxTimeToMacDurationRK6KxTime",
                                        self.library.time(microseconds))), duration)
        self.assertEqual(
            self.library.call("__Z26ConvertKxTimeToMacDurationRK6KxTime",
                              self.library.time(5, is_infinite=True)) & 0xFFFFFFFF, 0x7FFFFFFF)

    def local_time(self, fields):
        """Lets localtime_r answer with Darwin's struct tm; returns where the seconds that it is given land."""
        asked = []
        if fields is not None:
            self.library.system.results["localtime_r"] = self.library.machine.store(
                struct.pack("<9i", *fields) + bytes(24))
        self.library.system.hooks["localtime_r"] = (
            lambda place, _room: asked.append(self.library.machine.number(place)))
        return asked

    def time_of_day(self, seconds):
        record = self.library.machine.store(b"\xee" * 40)
        self.library.call("__ZN11KxClockTime7GetTimeER11KxTimeOfDayx", record, *self.library.wide(seconds))
        return struct.unpack("<8i?", self.library.machine.uc.mem_read(record, 33))

    def test_of_day_takes_the_fields_of_darwins_localtime(self):
        asked = self.local_time((59, 58, 23, 31, 11, 123, 6, 364, 1))
        self.assertEqual(self.time_of_day(1700000000), (59, 58, 23, 31, 11, 123, 6, 364, True))
        self.assertEqual(asked, [1700000000])
        self.assertEqual([event.split("(")[0] for event in self.library.events], ["tzset", "localtime_r"])

    def test_of_day_is_all_zeros_where_there_is_none(self):
        self.local_time(None)
        self.assertEqual(self.time_of_day(1), (0,) * 8 + (False,))

    def test_of_day_is_cut_to_the_width_of_darwins_seconds(self):
        asked = self.local_time((0,) * 9)
        self.time_of_day(0x1_0000_0007)
        self.assertEqual(asked, [0x1_0000_0007 if self.library.width == 8 else 7])
