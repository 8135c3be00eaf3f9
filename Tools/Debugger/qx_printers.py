# qx_printers.py - lets gdb show the framework's objects by their contents.
#
#     (gdb) source qx_printers.py
#     (gdb) print title
#     $1 = "abc"
#     (gdb) print message
#     $2 = 2 holders of "track.changed" = {data = 1 holder of 3 bytes: 00 78 78}
#
# A program that uses the installed shared library needs no `source`: gdb loads this file with it. If
# the framework has no debug information, compile the program with -g -femit-class-debug-always (GCC)
# or -g -fstandalone-debug (Clang): otherwise it does not describe the framework's classes.
#
# Nothing here calls a function of the program, so it works with core files as well. The class of an
# object is read from its table of virtual functions, because gdb does not find the debug information
# of a buffer by the name that it has there.

import re

import gdb
import gdb.printing

SHOWN_BYTES = 32  # of a block of bytes
READ_BYTES = 1 << 20  # of a text, at most


def words_at(address):
    """Returns the machine words that begin at an address."""
    return gdb.Value(int(address)).cast(gdb.lookup_type("void").pointer().pointer())


def text_at(address):
    pointer = gdb.Value(int(address)).cast(gdb.lookup_type("char").pointer())
    return pointer.string("utf-8", errors="replace")


def whole_object(pointer):
    """Returns the address and the class of the object that a pointer to one of its bases has."""
    table = words_at(words_at(pointer)[0])
    offset_to_top = int((table - 2).dereference().cast(gdb.lookup_type("long")))
    mangled = text_at(words_at((table - 1).dereference())[1]).lstrip("*")
    name = gdb.execute("demangle _ZTS" + mangled, to_string=True).strip()
    return int(pointer) + offset_to_top, name.replace("typeinfo name for ", "")


def object_at(pointer):
    """Returns what a pointer points to. Unlike dereference, it does not ask for the whole object."""
    return pointer.cast(pointer.type.strip_typedefs().target().array(0).pointer()).dereference()[0]


def base_named(value, name):
    """Returns the part of an object that a base class describes, or None."""
    if value.type.strip_typedefs().unqualified().name == name:
        return value
    for field in value.type.strip_typedefs().fields():
        if field.is_base_class:
            base = base_named(value[field], name)
            if base is not None:
                return base
    return None


def amount(count, thing):
    return "%d %s" % (count, thing if count == 1 else thing + "s")


class Block:
    """A block of bytes."""

    def __init__(self, address, size):
        self.address = int(address)
        self.size = int(size)

    def read(self, size):
        if self.address == 0 or size == 0:
            return b""
        return gdb.selected_inferior().read_memory(self.address, size).tobytes()

    def text(self, unit):
        """Returns the text before the first NUL, as gdb shows text."""
        pointer = gdb.Value(self.address).cast(gdb.lookup_type(unit).pointer())
        width = pointer.dereference().type.sizeof
        data = self.read(min(self.size, READ_BYTES))
        units = [data[at : at + width] for at in range(0, len(data) - width + 1, width)]
        end = units.index(bytes(width)) if bytes(width) in units else len(units)
        return pointer.lazy_string(length=end)

    def __str__(self):
        if self.address == 0 and self.size != 0:
            return amount(self.size, "byte") + " without memory"
        shown = self.read(min(self.size, SHOWN_BYTES)).hex(" ")
        text = amount(self.size, "byte") + (": " + shown if shown else "")
        return text + " ..." if self.size > SHOWN_BYTES else text


def block_of_buffer(pointer):
    """Returns the block of an LBufferT, or None for a buffer of another class."""
    start, name = whole_object(pointer)
    if not re.match("QX::L?BufferT<", name):
        return None
    # After the table of virtual functions: mData, mSize, mBlock and mAllocatedSize, for every one
    # of the template's arguments.
    words = words_at(start)
    size = (words + 2).cast(gdb.lookup_type("unsigned int").pointer()).dereference()
    return Block(words[3], size)


class StringPrinter:
    """A string: its text."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        pointer = self.value["mBuffer"]["mObject"]
        block = block_of_buffer(pointer) if int(pointer) != 0 else None
        if block is None:
            return "a string without a buffer of the framework"
        is_narrow = self.value.type.strip_typedefs().template_argument(0).sizeof == 1
        return block.text("char" if is_narrow else "char16_t")


class BufferPrinter:
    """A buffer: its size and its first bytes."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return str(block_of_buffer(self.value.address) or whole_object(self.value.address)[1])


class SmartPointerPrinter:
    """A smart pointer: how many hold the object, how many of these are its own parts, the object."""

    def __init__(self, value):
        self.pointer = value["mObject"]
        self.start, self.name = None, None
        if int(self.pointer) != 0:
            self.start, self.name = whole_object(self.pointer)

    def is_notification(self):
        return self.name == "QX::LNotification"

    def notification(self):
        kind = gdb.lookup_type("QX::LNotification").pointer()
        return NotificationPrinter(gdb.Value(self.start).cast(kind).dereference())

    def to_string(self):
        if self.name is None:
            return "null"
        counts = base_named(object_at(self.pointer), "QX::LRefCountedObject")
        text = amount(int(counts["mReferenceCount"]), "holder")
        if int(counts["mContainedReferenceCount"]) != 0:
            text += ", %d contained," % int(counts["mContainedReferenceCount"])
        if int(counts["mIsShareable"]) == 0:
            text += ", unshareable,"
        if self.is_notification():
            return text + " of " + self.notification().to_string()
        return text + " of " + str(block_of_buffer(self.pointer) or self.name)

    def children(self):
        if self.is_notification():
            yield from self.notification().children()
        elif self.name is not None:
            yield "object", self.pointer


class VariantPrinter:
    """A variant: its type and its value."""

    SCALARS = {1: "bool", 2: "int", 3: "long long", 4: "float", 5: "double"}
    POINTERS, STRING = (6, 7, 8, 10), 9

    def __init__(self, value):
        self.value = value
        self.type = int(value["mType"])

    def to_string(self):
        name = str(self.value["mType"]).split("::")[-1]
        return name + ", " + str(self.block()) if self.type in self.POINTERS else name

    def children(self):
        if self.type in self.SCALARS:
            kind = gdb.lookup_type(self.SCALARS[self.type]).pointer()
            yield "value", self.value["mValue"].address.cast(kind).dereference()
        elif self.type == self.STRING:
            yield "value", self.block().text("char")

    def block(self):
        # A VariantEx keeps its data in a buffer that others may hold and resize.
        if self.type >= 8 and self.value.type.strip_typedefs().name == "QX::VariantEx":
            return block_of_buffer(self.value["mData"]["mObject"])
        return Block(words_at(self.value["mValue"].address)[0], self.value["mSize"])


class ArrayPrinter:
    """An array of smart pointers."""

    def __init__(self, value):
        self.value = value
        slots = value["mSlots"]
        self.first = slots["mData"]
        self.count = int(slots["mSize"]) // self.first.dereference().type.sizeof

    def indices(self):
        return range(self.count)

    def to_string(self):
        return amount(len(self.indices()), "item")

    def children(self):
        kind = gdb.lookup_type("QX::ConstRCPtr<%s>" % self.first.dereference().type.target())
        slots = self.first.cast(kind.pointer())
        for place, index in enumerate(self.indices()):
            yield "[%d]" % place, (slots + index).dereference()

    def display_hint(self):
        return "array"


class QueuePrinter(ArrayPrinter):
    """A queue: what is in it, the oldest first."""

    def indices(self):
        index, end = int(self.value["mReadIndex"]), int(self.value["mWriteIndex"])
        queued = []
        while index != end and len(queued) < self.count:
            queued.append(index)
            index = index + 1 if index + 1 < self.count else 0
        return queued


class StringArrayPrinter:
    """An array of strings."""

    def __init__(self, value):
        vector = value["mItems"]["_M_impl"]
        self.first = vector["_M_start"]
        if self.first.dereference().type.sizeof == 0:
            raise gdb.error("the class of the items is not described")
        self.count = int(vector["_M_finish"] - vector["_M_start"])

    def to_string(self):
        return amount(self.count, "item")

    def children(self):
        for index in range(self.count):
            yield "[%d]" % index, (self.first + index).dereference()

    def display_hint(self):
        return "array"


class NotificationPrinter:
    """A notification: its name, whether it is posted, and its payload."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        name = int(self.value["mNotificationID"])
        text = '"%s"' % text_at(name) if name != 0 else "no name"
        return text + ", posted" if int(self.value["mIsPosted"]["_M_i"]) != 0 else text

    def children(self):
        yield "data", self.value["mData"]


class UndescribedPrinter:
    """An object of a class that the debug information does not describe."""

    def to_string(self):
        return "<no debug information of this class; see -femit-class-debug-always>"


def or_undescribed(printer):
    """Returns what makes a printer for an object, or says why there is none."""

    def make(value):
        try:
            made = printer(value)
            made.to_string()
            return made
        except gdb.MemoryError:
            raise
        except gdb.error:
            return UndescribedPrinter()

    return make


def make_printers():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("QX")
    for name, pattern, printer in (
        ("String", "^QX::StringT<", StringPrinter),
        ("Buffer", "^QX::(LIBuffer|IBuffer|L?BufferT<.*>)$", BufferPrinter),
        ("SmartPointer", "^QX::(Const)?RCPtr<", SmartPointerPrinter),
        ("Variant", "^QX::Variant(Ex)?$", VariantPrinter),
        ("Array", "^QX::(Const)?RCPtrArray<", ArrayPrinter),
        ("Queue", "^QX::RCPtrQueue<", QueuePrinter),
        ("StringArray", "^QX::(StringArrayT|Array)<", StringArrayPrinter),
        ("Notification", "^QX::LNotification$", NotificationPrinter),
    ):
        printers.add_printer(name, pattern, or_undescribed(printer))
    return printers


# For every file of the program, because the framework may be in the program or in a bundle.
gdb.printing.register_pretty_printer(None, make_printers(), replace=True)
