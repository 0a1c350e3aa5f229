"""Shows nuriccl's objects in gdb as what they mean.

gdb comes by this file through libnuriccl-gdb.py. Nothing here calls a function of the program, so
that core files are as good as processes. `print /r` shows an object as it is.

Types are described by the debug information of the program. What does not look like an object of
its class (it was not made yet, is gone, or was overwritten) is shown as <corrupt ...>.
"""

import codecs

import gdb
import gdb.printing
import gdb.types


class Corrupt(Exception):
    """The reason why something is no object of its class."""


def require(condition, reason):
    if not condition:
        raise Corrupt(reason)


# What gdb is asked for


def print_option(name, otherwise):
    """An option of the print command that is being carried out."""
    options = gdb.print_options() if hasattr(gdb, "print_options") else {}  # since gdb 13
    return options.get(name, otherwise)


def shown(count):
    """How many of so many elements are to be shown."""
    return min(count, print_option("max_elements", gdb.parameter("print elements")) or count)


def read(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size)) if size != 0 else b""


def element_at(address, element_type):
    return gdb.Value(address).cast(element_type.pointer()).dereference()


def count_of(number, noun):
    return f"{number} {noun}" if number == 1 else f"{number} {noun}s"


# Text


def host_charset():
    name = gdb.host_charset() if hasattr(gdb, "host_charset") else "ascii"
    try:
        return codecs.lookup(name).name
    except LookupError:
        return "ascii"


def quoted(data):
    """Bytes as a literal, in characters that the terminal has."""
    data = data.replace(b"\\", b"\\\\").replace(b'"', b'\\"')
    text = data.decode(host_charset(), "backslashreplace")
    return '"' + "".join(c if c.isprintable() else escaped(c) for c in text) + '"'


def escaped(character):
    return character.encode("unicode_escape").decode("ascii")


def hex_dump(data):
    """What nuriccl::string::hex_dump gives in the C locale, less the last line break."""
    lines = []
    for offset in range(0, len(data), 16):
        row = data[offset : offset + 16]
        characters = "".join(chr(byte) if 0x20 <= byte <= 0x7E else "." for byte in row)
        lines.append(f"{offset:04x}  {row.hex():<33}** {characters:<16} **")
    return "\n".join(lines)


# Time

BAD_TIME = "0000-00-00T00:00:00.00+00:00"
TIME_FIELDS = ("year", "month", "day", "hour", "minute", "second", "hundredths")
FRACTIONS = ("ten_thousandths", "millionths")
ZONE_FIELDS = ("zone_offset", "zone_flag")


def time_is_valid(time):
    return (
        1 <= time["year"] <= 9999
        and 1 <= time["month"] <= 12
        and 1 <= time["day"] <= 31
        and time["hour"] <= 23
        and time["minute"] <= 59
        and time["second"] <= 59
        and all(time[name] <= 99 for name in ("hundredths", *FRACTIONS))
        and (time["zone_flag"] == 1 or (time["zone_flag"] == 0 and time["zone_offset"] == 0))
    )


def time_text(time):
    """What nuriccl::to_str gives for an isotime, here a dictionary."""
    if not time_is_valid(time):
        return BAD_TIME
    zone = time["zone_offset"]
    hours, minutes = divmod(abs(zone), 60)
    return (
        "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:02}".format(*(time[name] for name in TIME_FIELDS))
        + f"{'-' if zone < 0 else '+'}{hours:02}:{minutes:02}"
    )


# Schedules

EVERY = 0xFFFFFFFF
MASKS = ("minutes_low", "minutes_high", "hours", "days", "months", "weekdays")


def range_text(first, last):
    return f"{first}-{last}"


def stepped_text(values, low, high):
    """The values as one item with a step of 2 or more; None when they are not evenly spaced."""
    steps = {later - earlier for earlier, later in zip(values, values[1:])}
    if len(values) < 3 or len(steps) != 1 or steps == {1}:
        return None
    (step,) = steps
    whole_field = values[0] == low and values[-1] + step > high
    return f"{'*' if whole_field else range_text(values[0], values[-1])}/{step}"


def list_text(values):
    """The values as a list, in which runs of three or more are ranges."""
    items = []
    start = 0
    while start < len(values):
        end = start + 1
        while end < len(values) and values[end] == values[end - 1] + 1:
            end += 1
        if end - start < 3:
            end = start + 1
            items.append(str(values[start]))
        else:
            items.append(range_text(values[start], values[end - 1]))
        start = end
    return ",".join(items)


def field_text(mask, low, high):
    values = [value for value in range(low, high + 1) if mask >> value & 1]
    return stepped_text(values, low, high) or list_text(values)


def short_field_text(mask, low, high, last_day=False):
    if mask == EVERY:
        return "*"
    items = [field_text(mask, low, high), "L" if last_day and mask & 1 else ""]
    return ",".join(filter(None, items)) or "-"


def schedule_text(masks):
    """What pln_crn2str gives for a cronblk, here a dictionary."""
    minutes = masks["minutes_high"] << 32 | masks["minutes_low"]
    every_minute = (1 << 60) - 1
    fields = (
        "*" if minutes & every_minute == every_minute else field_text(minutes, 0, 59) or "-",
        short_field_text(masks["hours"], 0, 23),
        short_field_text(masks["days"], 1, 31, last_day=True),
        short_field_text(masks["months"], 1, 12),
        short_field_text(masks["weekdays"], 0, 6),
    )
    return " ".join(fields)


# Containers of the standard library, whose own printers take their sanity for granted


def string_text(value):
    """A std::string as a literal, with dots behind it when it is cut."""
    address = int(value["_M_dataplus"]["_M_p"])
    length = int(value["_M_string_length"])
    local_room = 15
    require(
        address != 0 and length <= max(local_room, int(value["_M_allocated_capacity"])),
        f"a std::string of {length} characters has no room for them",
    )
    count = shown(length)
    return quoted(read(address, count)) + ("..." if count < length else "")


class Vector:
    """The elements of a std::vector."""

    def __init__(self, value):
        data = value["_M_impl"]
        self.type = data["_M_start"].type.strip_typedefs().target()
        self.start, finish, room = (
            int(data[name]) for name in ("_M_start", "_M_finish", "_M_end_of_storage")
        )
        size = finish - self.start
        require(
            0 <= size <= room - self.start and size % self.type.sizeof == 0,
            "a std::vector does not end where it may",
        )
        if size != 0:
            read(self.start, 1)
            read(finish - 1, 1)
        self.count = size // self.type.sizeof

    def __len__(self):
        return self.count

    def __iter__(self):
        for i in range(self.count):
            yield element_at(self.start + i * self.type.sizeof, self.type)


def strings_text(value):
    """A std::vector of std::string."""
    strings = Vector(value)
    count = shown(len(strings))
    texts = [string_text(text) for _, text in zip(range(count), strings)]
    return "{" + ", ".join(texts) + ("..." if count < len(strings) else "") + "}"


class Tree:
    """The (key, value) of the elements of a std::map."""

    def __init__(self, value):
        data = value["_M_t"]["_M_impl"]
        header = data["_M_header"]
        self.count = int(data["_M_node_count"])
        self.root = header["_M_parent"]
        self.node_size = header.type.sizeof
        self.types = [value.type.template_argument(i) for i in (0, 1)]
        require(
            (self.count == 0) == (int(self.root) == 0), "a std::map does not hold what it counts"
        )
        place = header.address
        if place is not None:
            first = int(header["_M_left"])
            origin = int(self.root["_M_parent"]) if self.count != 0 else first
            require(origin == int(place), "a std::map is not tied to its nodes")
        elif self.count != 0:
            read(int(self.root), self.node_size)

    def __len__(self):
        return self.count

    def __iter__(self):
        pending = []
        node = self.root
        for _ in range(self.count):
            while int(node) != 0:
                pending.append(node)
                node = self.child(node, "_M_left")
            require(pending, "a std::map lacks some of its nodes")
            node = pending.pop()
            yield self.element(int(node))
            node = self.child(node, "_M_right")

    @staticmethod
    def child(node, side):
        child = node[side]
        require(
            int(child) == 0 or int(child["_M_parent"]) == int(node),
            "the nodes of a std::map are no tree",
        )
        return child

    def element(self, address):
        parts = []
        address += self.node_size
        for part in self.types:
            address += -address % part.alignof
            parts.append(element_at(address, part))
            address += part.sizeof
        return parts


# The library's classes


class Printer:
    """What gdb calls. A class says what its objects are called, which members it reads, what one
    looks like (`text`) and what is in it (`parts`); both may fail in any way.
    """

    NAME = ""
    MEMBERS = ()

    def __init__(self, value):
        self.value = value

    def to_string(self):
        try:
            return self.text()
        except Exception as error:
            return self.corrupt(error)

    def children(self):
        try:
            self.text()
        except Exception:
            return  # has been said
        try:
            yield from self.parts()
        except Exception as error:
            yield "...", self.corrupt(error)

    def corrupt(self, error):
        reason = str(error) or type(error).__name__
        return f"<corrupt {self.NAME}: {reason}>"

    def number(self, name):
        return int(self.value[name])

    def flag(self, name):
        number = self.number(name)
        require(number in (0, 1), f"{name} is {number}")
        return number == 1

    def text(self):
        raise NotImplementedError

    def parts(self):
        return ()


class Buffer(Printer):
    NAME = "Buffer"
    MEMBERS = ("control_", "data_", "data_length_", "capacity_", "update_depth_")

    def text(self):
        length = self.number("data_length_")
        capacity = self.number("capacity_")
        depth = self.number("update_depth_")
        data = int(self.value["data_"])
        if int(self.value["control_"]) == 0:
            require((data, length, capacity) == (0, 0, 0), "bytes without a control block")
            text = "Buffer: no storage"
        else:
            handles = self.handles(data, length, capacity)
            text = f"Buffer: {length} of {count_of(capacity, 'byte')}"
            text += f", {count_of(handles, 'handle')}"
        if depth != 0:
            text += f", update depth {depth}"
        return text + self.dump(data, length)

    def handles(self, data, length, capacity):
        """The number of handles that share the block."""
        require(length <= capacity, f"{length} bytes in a capacity of {capacity}")
        control = self.value["control_"]
        require(data + capacity == int(control), "the control block does not follow the bytes")
        count, block = self.control_block(control)
        require(count != 0, "the block was given back")
        require(0 != block <= data, "the bytes lie in front of their block")
        return count

    @staticmethod
    def control_block(control):
        """The number of handles and the address of the block."""
        target = control.type.target().strip_typedefs()
        if target.fields():
            count = control["count_"]
            number = count.address.cast(count.type.template_argument(0).pointer()).dereference()
            return int(number), int(control["block_"])
        # A class with virtual functions is described in the library alone, whose debug information
        # may not be at hand. Where the members lie is fixed, since programs inline their use: the
        # table of functions, the count and the pointer, each at a multiple of a pointer's size.
        size = control.type.sizeof
        count, block = (read(int(control) + i * size, size) for i in (1, 2))
        return int.from_bytes(count[:4], "little"), int.from_bytes(block, "little")

    @staticmethod
    def dump(data, length):
        if length == 0 or print_option("summary", False):
            return ""
        count = shown(length)
        text = "\n" + hex_dump(read(data, count))
        return text if count == length else f"{text}\n... {count_of(length - count, 'byte')} more"


class Ring:
    """The slots of a deque that hold elements."""

    def __init__(self, queue):
        self.type = queue["slots_"].type.target()
        self.slots = int(queue["slots_"])
        self.slot_count, self.head, self.tail = (
            int(queue[name]) for name in ("slot_count_", "head_", "tail_")
        )
        if self.slots == 0:
            require(
                (self.slot_count, self.head, self.tail) == (1, 0, 0), "elements without slots"
            )
            return
        require(
            self.slot_count > 1 and max(self.head, self.tail) < self.slot_count,
            f"head {self.head}, tail {self.tail} of {self.slot_count} slots",
        )
        read(self.slots, 1)
        read(self.slots + self.slot_count * self.type.sizeof - 1, 1)

    def position(self, slot):
        """How many elements come before the slot."""
        return (slot - self.head) % self.slot_count

    def __len__(self):
        return self.position(self.tail)

    def element(self, position):
        slot = (self.head + position) % self.slot_count
        return element_at(self.slots + slot * self.type.sizeof, self.type)

    def parts(self):
        return ((f"[{i}]", self.element(i)) for i in range(len(self)))

    def runs(self):
        """The one or two runs of slots that the elements fill, as (first, last + 1)."""
        if self.head <= self.tail:
            return ((self.head, self.tail),)
        return ((self.head, self.slot_count), (0, self.tail))

    def sum(self, member):
        """The sum of a 32-bit member of all elements, read in large pieces."""
        size = self.type.sizeof
        (bits,) = (field.bitpos for field in self.type.fields() if field.name == member)
        total = 0
        for first, last in self.runs():
            for start in range(first, last, 0x1000):
                data = read(self.slots + start * size, min(last - start, 0x1000) * size)
                for place in range(bits // 8, len(data), size):
                    total += int.from_bytes(data[place : place + 4], "little")
        return total


class Deque(Printer):
    NAME = "deque"
    MEMBERS = ("slots_", "slot_count_", "head_", "tail_")

    def text(self):
        ring = Ring(self.value)
        return f"deque: {count_of(len(ring), 'element')}, {count_of(ring.slot_count, 'slot')}"

    def parts(self):
        return Ring(self.value).parts()


class DequeIterator(Printer):
    NAME = "iterator"
    MEMBERS = ("queue_", "slot_")

    def place(self):
        """The ring, and the position among its elements."""
        ring = Ring(self.value["queue_"].dereference())
        slot = self.number("slot_")
        position = ring.position(slot)
        require(
            slot < ring.slot_count and position <= len(ring),
            f"slot {slot} of {ring.slot_count} holds no element",
        )
        return ring, position

    def has_element(self):
        if int(self.value["queue_"]) == 0:
            return False
        ring, position = self.place()
        return position != len(ring)

    def text(self):
        if int(self.value["queue_"]) == 0:
            return "iterator: of no deque"
        ring, position = self.place()
        place = f"element {position}" if position != len(ring) else "end"
        return f"iterator: {place} of {len(ring)}"

    def parts(self):
        if self.has_element():
            ring, position = self.place()
            yield f"[{position}]", ring.element(position)


class MultiBuffer(Printer):
    NAME = "MultiBuffer"
    MEMBERS = ("buffers_",)

    def ring(self):
        return Ring(self.value["buffers_"])

    def text(self):
        ring = self.ring()
        length = ring.sum("data_length_") % 2**32
        return f"MultiBuffer: {count_of(len(ring), 'Buffer')}, {count_of(length, 'byte')}"

    def parts(self):
        return self.ring().parts()


class FSVList(Printer):
    NAME = "FSVList"
    MEMBERS = ("fields_", "separator_", "quote_", "escape_")

    def text(self):
        count = len(Vector(self.value["fields_"]))
        separator = string_text(self.value["separator_"])
        text = f"FSVList: {count_of(count, 'field')}, separator {separator}"
        for name in ("quote", "escape"):
            character = self.number(f"{name}_") % 256
            if character != (ord('"') if name == "quote" else 0):
                text += f", {name} {quoted(bytes([character])) if character != 0 else 'none'}"
        return text

    def parts(self):
        for i, field in enumerate(Vector(self.value["fields_"])):
            yield f"[{i}]", string_text(field)


class AddressMap(Printer):
    NAME = "AddressMap"

    def tree(self):
        fields = gdb.types.get_basic_type(self.value.type).fields()
        (base,) = (field for field in fields if field.is_base_class)
        return Tree(self.value[base])

    def text(self):
        return f"AddressMap: {count_of(len(self.tree()), 'name')}"

    def parts(self):
        for name, addresses in self.tree():
            yield f"[{string_text(name)}]", strings_text(addresses)


class CodePage(Printer):
    NAME = "CodePage"
    MEMBERS = ("m_codePage", "m_number", "m_locale", "m_name")

    def text(self):
        code_page = self.value["m_codePage"]
        names = {
            field.enumval: field.name.rpartition("::")[2]
            for field in code_page.type.strip_typedefs().fields()
        }
        number = int(code_page)
        text = f"CodePage: {names.get(number, number)} {string_text(self.value['m_name'])}"
        if self.number("m_number") != 0:
            text += f", number {self.number('m_number')}"
        return text + f", locale {string_text(self.value['m_locale'])}"


class Version(Printer):
    NAME = "Version"
    MEMBERS = ("m_major", "m_minor", "m_patch", "m_build")

    def text(self):
        major, minor, patch, build = (self.number(name) for name in self.MEMBERS)
        return f"Version: {major}.{minor}.{patch} build {build}"


class CronBlock(Printer):
    NAME = "cronblk"
    MEMBERS = MASKS

    def text(self):
        return schedule_text({name: self.number(name) for name in MASKS})


class Cron(Printer):
    NAME = "Cron"
    MEMBERS = ("block_", "valid_")

    def text(self):
        text = CronBlock(self.value["block_"]).text()
        return text if self.flag("valid_") else f"{text} (not valid)"


class IsoTime(Printer):
    NAME = "isotime"
    MEMBERS = (*TIME_FIELDS, *FRACTIONS, *ZONE_FIELDS)

    def text(self):
        time = {name: self.number(name) for name in self.MEMBERS}
        text = time_text(time)
        no_time = not any(time.values())
        return text if time_is_valid(time) or no_time else f"{text} (not valid)"


class SingleInstance(Printer):
    NAME = "SingleInstance"
    MEMBERS = ("set_",)

    def text(self):
        semaphores = self.number("set_")
        require(semaphores >= -1, f"semaphore set {semaphores}")
        held = f"semaphore set {semaphores}" if semaphores != -1 else "nothing"
        return f"SingleInstance: holds {held}"


class Signature(Printer):
    NAME = "Signature"
    MEMBERS = ("closed_", "context_", "digest_")

    DIGEST_SIZE = 20

    def text(self):
        digest = int(self.value["digest_"])
        closed = self.flag("closed_")
        require(closed == (digest != 0), "a digest without a close, or the other way around")
        if closed:
            return f"Signature: {read(digest, self.DIGEST_SIZE).hex()}"
        context = self.value["context_"]
        length = int(context["length_high"]) << 32 | int(context["length_low"])
        return f"Signature: open, {count_of(length, 'byte')} so far"


# How gdb comes by them

PRINTERS = {
    "cronblk": CronBlock,
    "isotime": IsoTime,
    "nuriccl::AddressMap": AddressMap,
    "nuriccl::Buffer": Buffer,
    "nuriccl::Cron": Cron,
    "nuriccl::Encoding::CodePage": CodePage,
    "nuriccl::FSVList": FSVList,
    "nuriccl::MultiBuffer": MultiBuffer,
    "nuriccl::Signature": Signature,
    "nuriccl::SingleInstance": SingleInstance,
    "nuriccl::Version": Version,
}
DEQUE = "nuriccl::deque"


class Collection(gdb.printing.PrettyPrinter):
    """All printers, as `info pretty-printer` lists them."""

    def __init__(self):
        self.deque = gdb.printing.SubPrettyPrinter(DEQUE)
        self.by_name = {name: gdb.printing.SubPrettyPrinter(name) for name in PRINTERS}
        super().__init__("nuriccl", [*self.by_name.values(), self.deque])

    def __call__(self, value):
        basic = gdb.types.get_basic_type(value.type)
        name = basic.tag
        if name is None:
            return None
        if name.startswith(f"{DEQUE}<"):
            listed, printers = self.deque, (Deque, DequeIterator)
        elif name in PRINTERS:
            listed, printers = self.by_name[name], (PRINTERS[name],)
        else:
            return None
        if value.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        for printer in printers:
            # Another class of this name, or another version of it, is shown as gdb does.
            members = (gdb.types.has_field(basic, member) for member in printer.MEMBERS)
            if listed.enabled and all(members):
                return printer(value)
        return None


def register(objfile):
    """Has gdb use the printers as long as `objfile` is loaded; always when it is None."""
    gdb.printing.register_pretty_printer(objfile, Collection(), replace=True)
