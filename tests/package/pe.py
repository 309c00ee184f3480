"""Reads what the tests of the package want to know of a Windows DLL or program (PE, 64 bit)."""

import struct

EXPORTS, IMPORTS, RESOURCES, DEBUG, DELAYED = 0, 1, 2, 6, 13
VERSION_RESOURCE = 16


class Image:
    def __init__(self, data):
        self.data = data
        header = self.u32(0x3C)
        if data[header:header + 4] != b"PE\0\0":
            raise ValueError("not a PE file")
        sections, self.time = self.u16(header + 6), self.u32(header + 8)
        optional = header + 24
        if self.u16(optional) != 0x20B:
            raise ValueError("not a 64-bit image")
        directories = [(self.u32(optional + 112 + 8 * i), self.u32(optional + 116 + 8 * i))
                       for i in range(self.u32(optional + 108))]
        self.directories = {number: entry for number, entry in enumerate(directories) if entry[0]}
        table = optional + self.u16(header + 20)
        self.sections = []
        for start in range(table, table + 40 * sections, 40):
            name = data[start:start + 8].rstrip(b"\0").decode()
            size, address, raw_size, raw = struct.unpack_from("<4I", data, start + 8)
            self.sections.append((name, address, max(size, raw_size), raw))

    def u16(self, offset):
        return struct.unpack_from("<H", self.data, offset)[0]

    def u32(self, offset):
        return struct.unpack_from("<I", self.data, offset)[0]

    def u64(self, offset):
        return struct.unpack_from("<Q", self.data, offset)[0]

    def offset(self, address):
        for _, start, size, raw in self.sections:
            if start <= address < start + size:
                return raw + address - start
        raise ValueError(f"address {address:#x} is in no section")

    def text(self, address):
        start = self.offset(address)
        return self.data[start:self.data.index(b"\0", start)].decode("ascii")

    def _names(self, address):
        place = self.offset(address)
        while self.u64(place):
            value = self.u64(place)
            yield f"#{value & 0xFFFF}" if value >> 63 else self.text((value & 0x7FFFFFFF) + 2)
            place += 8

    def imports(self):
        """The functions that are taken from each DLL, whose names are in small letters."""
        found = {}
        if IMPORTS in self.directories:
            place = self.offset(self.directories[IMPORTS][0])
            while self.u32(place + 12):
                names = self._names(self.u32(place) or self.u32(place + 16))
                found.setdefault(self.text(self.u32(place + 12)).lower(), set()).update(names)
                place += 20
        if DELAYED in self.directories:
            place = self.offset(self.directories[DELAYED][0])
            while self.u32(place + 4):
                names = self._names(self.u32(place + 16))
                found.setdefault(self.text(self.u32(place + 4)).lower(), set()).update(names)
                place += 32
        return found

    def exports(self):
        if EXPORTS not in self.directories:
            return set()
        place = self.offset(self.directories[EXPORTS][0])
        names = self.offset(self.u32(place + 32))
        return {self.text(self.u32(names + 4 * i)) for i in range(self.u32(place + 24))}

    def times(self):
        """Every place at which a linker leaves the time, with what stands there."""
        yield "header", self.time
        for name, number in (("exports", EXPORTS), ("resources", RESOURCES), ("debug", DEBUG)):
            if number in self.directories:
                yield name, self.u32(self.offset(self.directories[number][0]) + 4)

    def _resource(self, place, start):
        """The first leaf below a directory of resources."""
        while True:
            entry = self.u32(place + 16 + 4)
            if not entry >> 31:
                return self.u32(start + entry), self.u32(start + entry + 4)
            place = start + (entry & 0x7FFFFFFF)

    def version(self):
        """The version resource: its two numbers as tuples of four, and its texts."""
        start = self.offset(self.directories[RESOURCES][0])
        count = self.u16(start + 12) + self.u16(start + 14)
        for entry in range(start + 16, start + 16 + 8 * count, 8):
            if self.u32(entry) == VERSION_RESOURCE:
                address, size = self._resource(start + (self.u32(entry + 4) & 0x7FFFFFFF), start)
                return self._version(self.data[self.offset(address):self.offset(address) + size])
        raise ValueError("no version resource")

    @staticmethod
    def _version(block):
        numbers = block.index(struct.pack("<I", 0xFEEF04BD))

        def four(at):
            high, low = struct.unpack_from("<2I", block, numbers + at)
            return high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF

        texts = {}
        place = 0
        while place + 6 <= len(block):
            length, value, kind = struct.unpack_from("<3H", block, place)
            key_end = place + 6
            while block[key_end:key_end + 2] not in (b"\0\0", b""):
                key_end += 2
            key = block[place + 6:key_end].decode("utf-16-le")
            begin = (key_end + 2 + 3) & ~3
            if kind == 1 and value:
                texts[key] = block[begin:begin + 2 * value].decode("utf-16-le").rstrip("\0")
                place = (place + length + 3) & ~3
            else:
                # A block of others: on with what is inside; its own value, the numbers, is passed over.
                place = (begin + (value if kind == 0 else 0) + 3) & ~3
        return four(8), four(16), texts
