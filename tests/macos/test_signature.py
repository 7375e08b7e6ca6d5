"""Signatures, read by themselves: each page, and where the whole bundle is signed, each file of it. arm64 Macs
refuse code whose pages do not match."""

import hashlib
import plistlib
import struct
import unittest

from image import slices
from support import ALL_SLICES, BINARY, FRAMEWORK, on_slices

RESOURCES = FRAMEWORK / "Versions/A/_CodeSignature/CodeResources"
DIRECTORIES = (0, 0x1000)  # the first, and a second one by another digest
DIGESTS = {1: hashlib.sha1, 2: hashlib.sha256}
INFORMATION, RESOURCE_LIST = 1, 3  # what the hashes before the first page's are of
AD_HOC = 0x2


class Directory:
    def __init__(self, data):
        (_magic, _length, _version, self.flags, self._hashes, identifier, self._special, self.pages, self.limit,
         self._size, kind, _platform, shift) = struct.unpack_from(">9I4B", data)
        self._data = data
        self.digest = DIGESTS[kind]
        self.page = 1 << shift
        self.identifier = data[identifier:data.index(b"\0", identifier)].decode()

    def hash(self, number):
        """Of a page, or with a negative number of something else."""
        assert number >= -self._special
        at = self._hashes + self._size * number
        return self._data[at:at + self._size]


def directories(blob):
    magic, _length, count = struct.unpack_from(">3I", blob)
    assert magic == 0xFADE0CC0
    for i in range(count):
        kind, offset = struct.unpack_from(">2I", blob, 12 + 8 * i)
        if kind in DIRECTORIES:
            yield Directory(blob[offset:])


def is_signed():
    return RESOURCES.exists()


SKIPPED = "the framework was packaged without rcodesign: tools/setup-macos --sign"


@on_slices(ALL_SLICES)
class SliceSignature:
    def setUp(self):
        self.binary = slices(BINARY)[self.slice]
        if self.slice != "arm64" and not is_signed():
            self.skipTest(SKIPPED)
        self.directories = list(directories(bytes(self.binary.code_signature.content)))

    def test_matches_the_pages(self):
        code = BINARY.read_bytes()[self.binary.fat_offset:]
        for directory in self.directories:
            self.assertTrue(directory.flags & AD_HOC)
            self.assertEqual(directory.limit, self.binary.code_signature.data_offset)
            self.assertEqual(directory.pages, -(-directory.limit // directory.page))
            for i in range(directory.pages):
                page = code[i * directory.page:min((i + 1) * directory.page, directory.limit)]
                self.assertEqual(directory.hash(i), directory.digest(page).digest(), f"page {i}")

    def test_has_sha256(self):
        self.assertIn(hashlib.sha256, [directory.digest for directory in self.directories])

    def test_covers_information_and_resources(self):
        if not is_signed():
            self.skipTest(SKIPPED)
        for directory in self.directories:
            self.assertEqual(directory.identifier, "org.fallcatch.fallcatch")
            for number, path in ((INFORMATION, FRAMEWORK / "Resources/Info.plist"), (RESOURCE_LIST, RESOURCES)):
                self.assertEqual(directory.hash(-number), directory.digest(path.read_bytes()).digest(), path.name)


class Resources(unittest.TestCase):
    @unittest.skipUnless(is_signed(), SKIPPED)
    def test_lists_every_file_of_the_bundle_with_its_digest(self):
        content = FRAMEWORK / "Versions/A"
        listed = plistlib.loads(RESOURCES.read_bytes())["files2"]
        there = {str(path.relative_to(content)) for path in content.rglob("*") if path.is_file()}
        self.assertEqual(listed.keys(), there - {"fallcatch", "_CodeSignature/CodeResources"})
        for name, entry in listed.items():
            self.assertEqual(entry["hash2"], hashlib.sha256((content / name).read_bytes()).digest(), name)
