"""Checks the script's printf against the C library's, and how it marks what it does not imitate."""

import ctypes
import os
import random
import struct
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools"))
import pending_text  # noqa: E402

LIBC = ctypes.CDLL(None)
WIDTHS = {"long": ctypes.sizeof(ctypes.c_long), "pointer": ctypes.sizeof(ctypes.c_void_p)}
INT, LONG_LONG, DOUBLE, LONG, POINTER, TEXT, WIDE = 6, 7, 13, 14, 15, 16, 17


class NoMemory(Exception):
    pass


def read_memory(address, size):
    memory = {0x1000: b"at an address\0"}
    if address not in memory:
        raise NoMemory
    return memory[address][:size]


def texts():
    return pending_text.Texts(WIDTHS, read_memory, NoMemory)


def printed(text, value):
    buffer = ctypes.create_string_buffer(1000)
    LIBC.snprintf(buffer, ctypes.c_size_t(1000), text, value)
    return buffer.value


def piece(text, tag, payload):
    return texts().piece(text, (tag, payload))


def random_conversion(chooser, letters, lengths):
    flags = "".join(chooser.sample("-+ #0", chooser.randint(0, 2)))
    width = chooser.choice(["", "", "3", "12"])
    precision = chooser.choice(["", "", ".", ".0", ".4"])
    return f"<%{flags}{width}{precision}{chooser.choice(lengths)}{chooser.choice(letters)}>".encode()


class Numbers(unittest.TestCase):
    def test_integers_are_printed_as_the_c_library_does(self):
        chooser = random.Random(1)
        for _ in range(20000):
            number = chooser.choice([0, 1, -1, 255, chooser.randint(-2**31, 2**31 - 1)])
            conversion = random_conversion(chooser, "diouxX", ["", "h", "hh"])
            expected = printed(conversion, ctypes.c_int(number))
            self.assertEqual(piece(conversion, INT, struct.pack("<i", number)), expected, (conversion, number))

    def test_long_integers_are_printed_as_the_c_library_does(self):
        chooser = random.Random(2)
        for _ in range(5000):
            number = chooser.choice([0, -1, chooser.randint(-2**63, 2**63 - 1)])
            conversion = random_conversion(chooser, "diouxX", ["ll", "j", "", "hh"])
            expected = printed(conversion, ctypes.c_longlong(number))
            self.assertEqual(piece(conversion, LONG_LONG, struct.pack("<q", number)), expected, conversion)

    def test_reals_are_printed_as_the_c_library_does(self):
        chooser = random.Random(3)
        for _ in range(20000):
            number = chooser.choice([0.0, -0.0, 1.5, 1e300, -1e-9, float("inf"), float("-inf"), chooser.gauss(0, 1e4)])
            conversion = random_conversion(chooser, "eEfgG", ["", "l"])
            expected = printed(conversion, ctypes.c_double(number))
            self.assertEqual(piece(conversion, DOUBLE, struct.pack("<d", number)), expected, (conversion, number))

    def test_texts_are_printed_as_the_c_library_does(self):
        chooser = random.Random(4)
        for _ in range(5000):
            text = chooser.choice([b"", b"x", b"caf\xc3\xa9", b"a long enough text"])
            conversion = random_conversion(chooser, "s", [""]).replace(b"#", b"").replace(b"0", b"")
            self.assertEqual(piece(conversion, TEXT, text), printed(conversion, text), conversion)


class Marks(unittest.TestCase):
    def test_unsuitable_conversions_are_shown_with_their_value(self):
        self.assertEqual(piece(b"x=%d", TEXT, b"text"), b'<x=%d with string "text">')
        self.assertEqual(piece(b"%s", INT, struct.pack("<i", 7)), b"<%s with int32 7>")
        self.assertEqual(piece(b"%lld", INT, struct.pack("<i", 7)), b"<%lld with int32 7>")
        self.assertEqual(piece(b"%f", INT, struct.pack("<i", 7)), b"<%f with int32 7>")
        self.assertEqual(piece(b"%n", INT, struct.pack("<i", 7)), b"<%n with int32 7>")
        self.assertEqual(piece(b"%*d", INT, struct.pack("<i", 7)), b"<%*d with int32 7>")
        self.assertEqual(piece(b"%s", WIDE, "wide".encode("utf-32-le")), b'<%s with wide string "wide">')
        self.assertEqual(texts().piece(b"%d"), b"<no value for %d>")

    def test_text_conversions_follow_an_address(self):
        for tag in (LONG, POINTER):
            size = WIDTHS["long" if tag == LONG else "pointer"]
            self.assertEqual(piece(b"[%s]", tag, (0x1000).to_bytes(size, "little")), b"[at an address]")
            self.assertEqual(piece(b"%.2s", tag, (0x1000).to_bytes(size, "little")), b"at")
            self.assertEqual(piece(b"%s", tag, bytes(size)), b"(null)")
        address = (0x2000).to_bytes(WIDTHS["pointer"], "little")
        self.assertEqual(piece(b"%s", POINTER, address), b"<%s with pointer 0x2000>")

    def test_what_the_formatter_refuses_vanishes(self):
        self.assertEqual(texts().piece(b"lost 100%"), b"")
        self.assertEqual(texts().piece(b"100%% done"), b"100% done")


if __name__ == "__main__":
    unittest.main()
