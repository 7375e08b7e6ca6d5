"""The world around the bridge: Objective-C objects, Foundation's methods that it calls, Breakpad and the C
library, all played in Python. Everything that the bridge does to it is written down, one line per call:

    pool1 = [NSAutoreleasePool alloc]
    [dictionary1 setObject:@"socorro" forKey:@"BreakpadServerType"]
    BreakpadCreate(dictionary1) = 0x5eed

Objects are counted. A message to one that is gone fails the test."""

import struct
import unicodedata

LABELS = {
    "NSAutoreleasePool": "pool",
    "NSMutableDictionary": "dictionary",
    "NSString": "string",
}
UTF32_LITTLE_ENDIAN = 0x9C000100


def components(text, separator):
    """Foundation does not find a separator under a combining mark: the two are one character."""
    first, *others = text.split(separator)
    parts = [first]
    for part in others:
        if part and unicodedata.category(part[0]).startswith("M"):
            parts[-1] += separator + part
        else:
            parts.append(part)
    return parts


class Thing:
    def __init__(self, class_name, label, address, value=None, owned=None):
        self.class_name = class_name
        self.label = label
        self.address = address
        self.value = value
        self.owned = owned  # references that someone must release; None for what lives for ever
        self.pooled = False  # goes with the pool unless someone keeps it
        self.kept = 0  # by collections

    def is_gone(self):
        return self.owned == 0 and not self.pooled and self.kept == 0


class World:
    def __init__(self, defaults=None, info=None, arguments=("/Applications/Host.app/Contents/MacOS/Host",),
                 reporter=0x5EED, dictionaries=True, contents=None):
        self.events = []
        self.defaults = defaults or {}
        self.info = info or {}
        self.process_arguments = list(arguments)
        self.reporter = reporter
        self.dictionaries = dictionaries  # whether there is memory for one
        self.contents = contents or {}  # bytes of objects in memory, by label
        self.configuration = None  # what BreakpadCreate was given
        self.machine = None
        self.constant_class = None  # the address that marks string constants
        self._things = {}
        self._counts = {}
        self._classes = {}
        self._pools = []

    # Objects

    def _add(self, class_name, label, **more):
        thing = Thing(class_name, label, self.machine.allocate(64), **more)
        self._things[thing.address] = thing
        self.machine.uc.mem_write(thing.address, self.contents.get(label, b""))
        return thing

    def _numbered(self, label):
        self._counts[label] = self._counts.get(label, 0) + 1
        return f"{label}{self._counts[label]}"

    def class_address(self, name):
        if name not in self._classes:
            self._classes[name] = self._add("class", name)
        return self._classes[name].address

    def _new(self, class_name, label):
        """From alloc."""
        return self._add(class_name, self._numbered(label), owned=1)

    def _given(self, class_name, label, value):
        """From a method that gives no ownership."""
        assert self._pools, f"{label} is autoreleased and there is no pool"
        thing = self._add(class_name, self._numbered(label), value=value, owned=0)
        thing.pooled = True
        self._pools[-1].append(thing)
        return thing

    def _lasting(self, class_name, label, value=None):
        for thing in self._things.values():
            if thing.label == label:
                return thing
        return self._add(class_name, label, value=value)

    def thing(self, address):
        """The object at an address; a constant of the binary the first time it is seen. None for nil."""
        if address == 0:
            return None
        if address not in self._things:
            assert self.machine.number(address) == self.constant_class, f"no object at {address:#x}"
            width = self.machine.processor.width
            flags = self.machine.number(address + width, 4)
            assert flags == 0x7C8, "not a constant of single bytes"
            characters = self.machine.number(address + 2 * width)
            length = self.machine.number(address + 3 * width)
            text = self.machine.text(characters)
            assert len(text) == length
            self._things[address] = Thing(
                "NSString", f'@"{text}"', address, value=text)
        return self._things[address]

    def name(self, address):
        thing = self.thing(address)
        return "nil" if thing is None else thing.label

    def unreleased(self):
        """What alloc gave and nobody released, in order of creation."""
        return [thing.label for thing in self._things.values() if thing.owned]

    # Messages

    def alloc(self, class_address):
        class_name = self.thing(class_address).label
        if class_name == "NSMutableDictionary" and not self.dictionaries:
            self.events.append(f"nil = [{class_name} alloc]")
            return 0
        thing = self._new(class_name, LABELS[class_name])
        self.events.append(f"{thing.label} = [{class_name} alloc]")
        return thing.address

    def send(self, receiver, selector, rest):
        """rest(count) gives so many arguments behind receiver and selector."""
        thing = self.thing(receiver)
        method = getattr(self, "_" + selector.replace(":", "_"))
        if selector == "alloc":
            return self.alloc(receiver)
        assert thing is None or not thing.is_gone(), f"[{thing.label} {selector}] after its release"
        return method(thing, rest)

    def _say(self, thing, message, result=None):
        line = f"[{'nil' if thing is None else thing.label} {message}]"
        if result is not None:
            line = f"{result} = {line}"
        self.events.append(line)

    def _alloc(self, thing, rest):
        raise NotImplementedError

    def _init(self, thing, _rest):
        self._say(thing, "init")
        if thing is None:
            return 0
        if thing.class_name == "NSAutoreleasePool":
            self._pools.append([])
        else:
            thing.value = {}
        return thing.address

    def _release(self, thing, _rest):
        self._say(thing, "release")
        thing.owned -= 1
        if thing.class_name == "NSAutoreleasePool" and thing.owned == 0:
            for pooled in self._pools.pop():
                pooled.pooled = False
        return 0

    def _mainBundle(self, thing, _rest):
        assert thing.label == "NSBundle"
        self._say(thing, "mainBundle", "bundle")
        return self._lasting("NSBundle", "bundle").address

    def _infoDictionary(self, thing, _rest):
        self._say(thing, "infoDictionary", "info")
        return self._lasting("NSDictionary", "info", dict(self.info)).address

    def _addEntriesFromDictionary_(self, thing, rest):
        (other,) = rest(1)
        self._say(thing, f"addEntriesFromDictionary:{self.name(other)}")
        if thing is not None:
            thing.value.update(self.thing(other).value)
        return 0

    def _setObject_forKey_(self, thing, rest):
        value, key = (self.thing(address) for address in rest(2))
        self._say(thing, f"setObject:{value.label} forKey:{key.label}")
        value.kept += 1
        thing.value[key.value] = value.value
        return 0

    def _standardUserDefaults(self, thing, _rest):
        assert thing.label == "NSUserDefaults"
        self._say(thing, "standardUserDefaults", "defaults")
        return self._lasting("NSUserDefaults", "defaults").address

    def _stringForKey_(self, thing, rest):
        key = self.thing(rest(1)[0])
        value = self.defaults.get(key.value)
        found = None if value is None else self._given("NSString", "default", value)
        self._say(thing, f"stringForKey:{key.label}", "nil" if found is None else found.label)
        return 0 if found is None else found.address

    def _initWithBytes_length_encoding_(self, thing, rest):
        start, length, encoding = rest(3)
        data = bytes(self.machine.uc.mem_read(start, length))
        assert encoding == UTF32_LITTLE_ENDIAN
        assert length % 4 == 0 and self.machine.number(start + length, 4) == 0
        message = f"initWithBytes:{{}} length:{length} encoding:UTF-32LE"
        try:
            thing.value = data.decode("utf-32-le")
        except UnicodeDecodeError:
            self._say(thing, message.format("?"), "nil")
            thing.owned = 0  # the initialiser frees what it cannot fill
            return 0
        self._say(thing, message.format(repr(thing.value)))
        return thing.address

    def _initWithFormat_(self, thing, rest):
        text_format = self.thing(rest(1)[0])
        assert text_format.value == "%d"
        (number,) = struct.unpack("<i", struct.pack("<I", self.machine.processor.variadic(self.machine, 3)))
        thing.value = text_format.value % number
        self._say(thing, f"initWithFormat:{text_format.label}, {number}")
        return thing.address

    def _length(self, thing, _rest):
        self._say(thing, "length")
        return 0 if thing is None else len(thing.value)

    def _compare_(self, thing, rest):
        other = self.thing(rest(1)[0])
        self._say(thing, f"compare:{other.label}")
        return (thing.value > other.value) - (thing.value < other.value)

    def _componentsSeparatedByString_(self, thing, rest):
        separator = self.thing(rest(1)[0])
        if thing is None:
            self._say(thing, f"componentsSeparatedByString:{separator.label}")
            return 0
        parts = self._given("NSArray", "components", None)
        parts.value = [
            self._given("NSString", f"{parts.label}.", text) for text in components(thing.value, separator.value)]
        for i, part in enumerate(parts.value):
            part.label = f"{parts.label}[{i}]"
        self._say(thing, f"componentsSeparatedByString:{separator.label}", parts.label)
        return parts.address

    def _count(self, thing, _rest):
        self._say(thing, "count")
        return 0 if thing is None else len(thing.value)

    def _objectAtIndex_(self, thing, rest):
        (index,) = rest(1)
        self._say(thing, f"objectAtIndex:{index}")
        return thing.value[index].address

    def _processInfo(self, thing, _rest):
        assert thing.label == "NSProcessInfo"
        self._say(thing, "processInfo", "process")
        return self._lasting("NSProcessInfo", "process").address

    def _arguments(self, thing, _rest):
        values = [
            self._lasting("NSString", f"argument{i}", text) for i, text in enumerate(self.process_arguments)]
        array = self._given("NSArray", "arguments", values)
        self._say(thing, "arguments", array.label)
        return array.address
