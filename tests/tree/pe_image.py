"""Reads a 64-bit Windows image: headers, sections, exports, imports, resources."""
import struct

DIRECTORY_EXPORT, DIRECTORY_IMPORT, DIRECTORY_RESOURCE = 0, 1, 2
DIRECTORY_RELOCATION, DIRECTORY_TLS, DIRECTORY_DELAY_IMPORT = 5, 9, 13

SECTION_EXECUTE, SECTION_WRITE = 0x20000000, 0x80000000

RESOURCE_BITMAP, RESOURCE_VERSION = 2, 16


class Section:
    def __init__(self, header):
        (name, self.size_bytes, self.address, self.raw_bytes, self.offset, self.flags) = (
            struct.unpack("<8sIIIIxxxxxxxxxxxxI", header))
        self.name = name.rstrip(b"\0").decode()

    def is_executable(self):
        return bool(self.flags & SECTION_EXECUTE)

    def is_writable(self):
        return bool(self.flags & SECTION_WRITE)


class PeImage:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        header = self._unpack("<I", 0x3C)[0]
        if self.data[header:header + 4] != b"PE\0\0":
            raise ValueError(f"{path} is no Windows image")
        (self.machine, section_count, self.time_stamp, _, _, optional_bytes,
         self.characteristics) = self._unpack("<HHIIIHH", header + 4)
        optional = header + 24
        self.magic = self._unpack("<H", optional)[0]
        self.image_base = self._unpack("<Q", optional + 24)[0]
        self.subsystem, self.dll_characteristics = self._unpack("<HH", optional + 68)
        directory_count = self._unpack("<I", optional + 108)[0]
        self.directories = [self._unpack("<II", optional + 112 + 8 * index)
                            for index in range(directory_count)]
        table = optional + optional_bytes
        self.sections = [Section(self.data[table + 40 * index:table + 40 * index + 40])
                         for index in range(section_count)]

    def has_directory(self, index):
        return index < len(self.directories) and self.directories[index][1] != 0

    def export_names(self):
        """The exported names, and how many functions are exported with or without one."""
        if not self.has_directory(DIRECTORY_EXPORT):
            return [], 0
        table = self._offset(self.directories[DIRECTORY_EXPORT][0])
        function_count, name_count, _, names = self._unpack("<IIII", table + 20)
        pointers = self._unpack(f"<{name_count}I", self._offset(names)) if name_count else ()
        return [self._text(pointer) for pointer in pointers], function_count

    def imports(self):
        """Library name -> imported functions; one imported by number is called '#number'."""
        libraries = {}
        entry = self._offset(self.directories[DIRECTORY_IMPORT][0])
        while True:
            lookup, _, _, name, address_table = self._unpack("<IIIII", entry)
            if name == 0:
                return libraries
            functions = libraries.setdefault(self._text(name), [])
            slot = self._offset(lookup or address_table)
            while value := self._unpack("<Q", slot)[0]:
                functions.append(f"#{value & 0xFFFF}" if value >> 63 else self._text(value + 2))
                slot += 8
            entry += 20

    def resource(self, kind, number):
        """The bytes of a resource given by its type and number; None when there is none."""
        if not self.has_directory(DIRECTORY_RESOURCE):
            return None
        root = self._offset(self.directories[DIRECTORY_RESOURCE][0])
        place = root
        for wanted in (kind, number, None):
            place = self._resource_entry(root, place, wanted)
            if place is None:
                return None
        address, size_bytes = self._unpack("<II", place)
        offset = self._offset(address)
        return self.data[offset:offset + size_bytes]

    def _resource_entry(self, root, table, wanted):
        named, numbered = self._unpack("<HH", table + 12)
        for index in range(named, named + numbered):
            number, place = self._unpack("<II", table + 16 + 8 * index)
            if wanted is None or number == wanted:
                return root + (place & 0x7FFFFFFF)
        return None

    def _unpack(self, layout, offset):
        return struct.unpack_from(layout, self.data, offset)

    def _text(self, address):
        start = self._offset(address)
        return self.data[start:self.data.index(b"\0", start)].decode("ascii")

    def _offset(self, address):
        for section in self.sections:
            if section.address <= address < section.address + max(section.size_bytes,
                                                                  section.raw_bytes):
                return address - section.address + section.offset
        raise ValueError(f"no section holds the address {address:#x}")
