"""Renders log records as the collection pass does; for pending_records.py.

Texts are bytes. What the C library would be handed wrongly is not imitated but shown with a mark.
"""

import re
import struct

NAMES = {4: "int8", 5: "int16", 6: "int32", 7: "int64", 8: "uint8", 9: "uint16", 10: "uint32", 11: "uint64",
         12: "float", 13: "double", 14: "long", 15: "pointer", 16: "string", 17: "wide string", 18: "UTF-16 string"}
CODES = {4: "b", 5: "h", 6: "i", 7: "q", 8: "B", 9: "H", 10: "I", 11: "Q", 12: "f", 13: "d"}
DEFAULTS = {4: b"%hd", 5: b"%hd", 6: b"%d", 7: b"%lld", 8: b"%hu", 9: b"%hu", 10: b"%u", 11: b"%llu", 12: b"%f",
            13: b"%g", 14: b"%d", 15: b"0x%x", 16: b"%s", 17: b"%S", 18: b"%S"}
TEXT_UNITS = {16: 1, 17: 4, 18: 2}
LETTERS = b"cCdiouxXeEfgGnpsS"
LONGEST = 65535

CONVERSION = re.compile(rb"%([-+ #0']*)(\d+|\*)?(?:\.(\d+|\*)?)?(hh|h|ll|l|q|L|j|z|t)?(.)", re.S)


class Unsuitable(Exception):
    """A conversion met a value that it does not suit, or none."""


def payload_size(tag, widths):
    if tag == 14:
        return widths["long"]
    if tag == 15:
        return widths["pointer"]
    return struct.calcsize(CODES[tag]) if tag in CODES else 0


def wide_to_utf8(payload, code):
    """Wide or UTF-16 payload; pairs of surrogates become one character, single ones are shown as "?"."""
    encoding = "utf-32-le" if code == 17 else "utf-16-le"
    text = payload.decode(encoding, "surrogatepass" if code == 18 else "replace")
    text = text.split("\0")[0]
    return text.encode("utf-8", "replace")


def pad(text, flags, width):
    width = int(width or 0)
    return text.ljust(width) if b"-" in flags else text.rjust(width)


def format_integer(number, flags, width, precision, letter):
    digits = {b"o": b"%o", b"x": b"%x", b"X": b"%X"}.get(letter, b"%d") % abs(number)
    if precision is not None:
        digits = b"" if number == 0 and int(precision or 0) == 0 else digits.rjust(int(precision or 0), b"0")
    lead = b""
    if letter in b"di":
        lead = b"-" if number < 0 else b"+" if b"+" in flags else b" " if b" " in flags else b""
    elif b"#" in flags:
        if letter == b"o" and not digits.startswith(b"0"):
            digits = b"0" + digits
        elif letter in b"xX" and number != 0:
            lead = b"0" + letter
    if b"0" in flags and b"-" not in flags and precision is None:
        digits = digits.rjust(int(width or 0) - len(lead), b"0")
    return pad(lead + digits, flags, width)


def format_real(number, flags, width, precision, letter):
    if number != number or number in (float("inf"), float("-inf")):
        text = (b"%" + flags.replace(b"0", b"").replace(b"#", b"").replace(b"'", b"") + letter) % number
        return pad(text, flags, width)
    precise = b"" if precision is None else b"." + (precision or b"0")
    return (b"%" + flags.replace(b"'", b"") + (width or b"") + precise + letter) % number


class Texts:
    """Renders records of a process whose `widths` of long and pointer are given, and whose memory
    read_memory(address, size) reads; it raises `memory_error` where there is none."""

    def __init__(self, widths, read_memory, memory_error):
        self.widths = widths
        self.read_memory = read_memory
        self.memory_error = memory_error

    def number(self, tag, payload):
        """What the formatter is handed for a number, and its width in bytes."""
        if tag in CODES:
            value = struct.unpack("<" + CODES[tag], payload)[0]
            return value, 8 if tag in (7, 11, 12, 13) else 4
        return int.from_bytes(payload, "little", signed=tag == 14), len(payload)

    def shown(self, value):
        """A value as it is, for where no conversion can be trusted."""
        tag, payload = value
        if tag == 16:
            return b'"' + payload + b'"'
        if tag in TEXT_UNITS:
            return b'"' + wide_to_utf8(payload, tag) + b'"'
        if tag == 15:
            return b"0x%x" % self.number(tag, payload)[0]
        return str(self.number(tag, payload)[0]).encode() if tag in NAMES else b"?"

    def text_at(self, address, limit):
        if address == 0:
            return b"(null)"[:limit]
        text = b""
        try:
            while b"\0" not in text and len(text) < limit:
                # Up to the end of a page: the next one may not be there.
                text += self.read_memory(address + len(text), 256 - (address + len(text)) % 256)
        except self.memory_error as error:
            raise Unsuitable from error
        return text.split(b"\0")[0][:limit]

    def convert_text(self, flags, width, precision, length, letter, value):
        tag, payload = value
        limit = LONGEST if precision is None else int(precision or 0)
        is_wide = letter == b"S" or length == b"l"
        if tag in (14, 15) and not is_wide:
            text = self.text_at(self.number(tag, payload)[0], limit)
        elif tag not in TEXT_UNITS or is_wide != (tag != 16):
            raise Unsuitable
        elif is_wide:
            # Whole characters only.
            text = wide_to_utf8(payload, tag)[:limit].decode("utf-8", "ignore").encode()
        else:
            text = payload.split(b"\0")[0][:limit]
        return pad(text, flags, width)

    def convert_number(self, flags, width, precision, length, letter, value):
        tag, payload = value
        number, handed = self.number(tag, payload)
        if (tag in (12, 13)) != (letter in b"eEfgG"):
            raise Unsuitable
        if tag in (12, 13):
            if length not in (b"", b"l"):
                raise Unsuitable
            return format_real(number, flags, width, precision, letter)
        if letter in b"cC":
            wide = letter == b"C" or length == b"l"
            text = chr(number % (1 << 32)).encode("utf-8", "replace") if wide else bytes([number % 256])
            return pad(text, flags, width)
        wanted = {b"hh": 1, b"h": 2, b"": 4, b"l": self.widths["long"], b"z": self.widths["pointer"],
                  b"t": self.widths["pointer"]}.get(length, 8)
        if letter == b"p":
            wanted = self.widths["pointer"]
        if wanted > handed:
            raise Unsuitable
        number %= 1 << 8 * wanted
        if letter in b"di" and number >= 1 << (8 * wanted - 1):
            number -= 1 << 8 * wanted
        if letter == b"p":
            return pad(b"0x%x" % number if number else b"(nil)", flags, width)
        return format_integer(number, flags, width, precision, letter)

    def print(self, text, value=None):
        """What vsnprintf makes of a format and one value, or none; up to the first zero byte."""
        values = [] if value is None else [value]
        result = b""
        position = 0
        while True:
            percent = text.find(b"%", position)
            if percent < 0:
                result += text[position:]
                break
            result += text[position:percent]
            match = CONVERSION.match(text, percent)
            if match is None:
                return b""  # the formatter refuses the whole text
            flags, width, precision, length, letter = match.groups()
            precision = (precision or b"") if b"." in match.group() else None
            position = match.end()
            if letter == b"%":
                result += b"%"
            elif letter not in LETTERS:
                result += match.group()
            elif letter == b"n" or not values or b"*" in (width, precision) or values[0][0] not in NAMES:
                raise Unsuitable
            else:
                convert = self.convert_text if letter in b"sS" else self.convert_number
                if letter not in b"sS" and values[0][0] in TEXT_UNITS:
                    raise Unsuitable
                result += convert(flags, width, precision, length or b"", letter, values.pop(0))
        return result.split(b"\0")[0][:LONGEST]

    def piece(self, text, value=None):
        """The same, with a mark where it cannot be told."""
        try:
            return self.print(text, value)
        except (Unsuitable, ValueError, OverflowError):
            if value is None:
                return b"<no value for " + text + b">"
            return b"<" + text + b" with " + NAMES.get(value[0], "?").encode() + b" " + self.shown(value) + b">"

    def render(self, record, entries):
        """A record's message. `entries` are the registered formats: narrow or not, and the text."""
        text = self.format_of(record, entries)
        if not record.values:
            return self.piece(text)
        result = b""
        position = 0
        exhausted = False
        for i, value in enumerate(record.values):
            part = b""
            if not exhausted:
                end = self.next_conversion(text, position)
                if end < 0:
                    everything = b", ".join(self.shown(each) for each in record.values)
                    return b"<NEVER RETURNS> " + text + b" (" + everything + b")"
                if end == 0:
                    result += self.piece(text[position:]) + b" ("
                    position = len(text)
                    exhausted = True
                else:
                    part = text[position:end]
                    position = end
            if value[0] not in NAMES:
                result += b"<BAD ARG> I'm horribly confused"
            else:
                result += self.piece(part or DEFAULTS[value[0]], value)
            if exhausted and i < len(record.values) - 1:
                result += b", "
        if position < len(text):
            rest = text[position:].split(b"\0")[0]
            if b"%" in rest:
                rest = b"[extra format arguments: " + rest.replace(b"%", b"_") + b" ]"
            result += rest
        return result + b") " if exhausted else result

    @staticmethod
    def next_conversion(text, position):
        """Where the next conversion ends; 0 if there is none, -1 if the search for it never ends."""
        percent = text.find(b"%", position)
        if percent < 0:
            return 0
        if (percent > 0 and text[percent - 1] == ord("\\")) or text[percent + 1:percent + 2] == b"%":
            return -1
        for i in range(percent, len(text)):
            if text[i] in LETTERS:
                return i + 1
        return 0

    @staticmethod
    def format_of(record, entries):
        if record.kind == 1:
            return record.format
        if record.kind != 3:
            return b"<BAD FORMAT STRING>"
        if record.format_id == -1:
            return b"<UNINITIALIZED FORMAT STRING ID USED>"
        if not 0 <= record.format_id < len(entries):
            return b""
        narrow, text = entries[record.format_id]
        return text if narrow else b"<WIDE FORMAT STRING NOT SUPPORTED>"
