"""gdb shows the values of Morvel as a person would write them.

gdb loads this file by itself where the library is installed; elsewhere: source debugger/morvel-gdb.py.
Nothing is called in the program, so that core files can be read, too. The fields of the classes are in
the library's debug symbols (libmorvel1-dbgsym), or in a program that is built with
-femit-class-debug-always (GCC) or -fstandalone-debug (Clang).
"""
import datetime

import gdb
import gdb.printing
import gdb.types

ENCODINGS = {0: ("System", "utf-8"), 1: ("ASCII", "ascii"), 2: ("Latin1", "latin-1"),
             3: ("Latin9", "iso8859-15"), 4: ("UTF8", "utf-8"), 5: ("UTF16", "utf-16-le")}
FORMS = {0: "NFD", 1: "NFKD", 2: "NFC", 3: "NFKC"}
LONGEST = 200  # characters of a text or a document


def bytes_of(string):
    """What a std::string of libstdc++ holds."""
    length = int(string["_M_string_length"])
    if length == 0:
        return b""
    address = int(string["_M_dataplus"]["_M_p"])
    return gdb.selected_inferior().read_memory(address, length).tobytes()


def quoted(text):
    if len(text) > LONGEST:
        text = text[:LONGEST] + "..."
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


class TextPrinter:
    """NString and NPath: the text, its encoding, and its form or else its length."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        data = bytes_of(self.value["_data"])
        name, codec = ENCODINGS.get(int(self.value["_encoding"]), ("of no encoding", "latin-1"))
        form = FORMS.get(int(self.value["_form"]))
        text = quoted(data.decode(codec, "replace"))
        if form:
            return f"{text} {name} {form}"
        return f"{text} {name}, {len(data)} byte" + ("" if len(data) == 1 else "s")


class TimestampPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        microseconds = int(self.value["_value"])
        try:
            instant = datetime.datetime(1970, 1, 1) + datetime.timedelta(microseconds=microseconds)
        except OverflowError:
            return f"{microseconds} microseconds since 1970"
        return instant.isoformat(" ") + " UTC"


class DatePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        part = {name: int(self.value["_" + name]) for name in
                ("year", "month", "day", "hour", "minute", "second", "millisecond", "microsecond")}
        return ("{year:04}-{month:02}-{day:02} {hour:02}:{minute:02}:{second:02}"
                ".{millisecond:03}{microsecond:03}".format(**part))


class ExceptionPrinter:
    """The class and its message; a nested one behind it."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = f"{self.value.dynamic_type.name}: {quoted(bytes_of(self.value['_message']).decode('utf-8', 'replace'))}"
        nested = self.value["_nested"]
        if int(nested):
            text += " of " + ExceptionPrinter(nested.dereference()).to_string()
        return text


class DocumentPrinter:
    """The document as XML, read from pugixml's nodes as releases from 1.9 on lay them out on 64 bits."""

    ELEMENT, TEXT, CDATA = 2, 3, 4

    def __init__(self, value):
        self.value = value
        self.left = LONGEST

    def word(self, address):
        return int.from_bytes(gdb.selected_inferior().read_memory(address, 8).tobytes(), "little")

    def text(self, address):
        if address == 0:
            return ""
        return gdb.Value(address).cast(gdb.lookup_type("char").pointer()).string("utf-8", "replace")

    def attributes(self, attribute):
        while attribute and self.left > 0:
            yield self.add(f' {self.text(self.word(attribute + 8))}="{self.text(self.word(attribute + 16))}"')
            attribute = self.word(attribute + 32)

    def add(self, piece):
        self.left -= len(piece)
        return piece

    def nodes(self, node):
        """The node and its siblings."""
        while node and self.left > 0:
            kind = self.word(node) & 15
            if kind == self.ELEMENT:
                name = self.text(self.word(node + 8))
                yield self.add("<" + name)
                yield from self.attributes(self.word(node + 56))
                child = self.word(node + 32)
                if child:
                    yield self.add(">")
                    yield from self.nodes(child)
                    yield self.add(f"</{name}>")
                else:
                    yield self.add("/>")
            elif kind in (self.TEXT, self.CDATA):
                yield self.add(self.text(self.word(node + 16)))
            node = self.word(node + 48)

    def to_string(self):
        document = self.word(int(self.value["_document"].address))  # a unique_ptr is its pointer
        root = self.word(document) if document else 0
        child = self.word(root + 32) if root else 0
        if not child:
            return "no document"
        text = "".join(self.nodes(child))
        return text if self.left > 0 else text[:LONGEST] + "..."


class ArrayPrinter:
    """The containers that the array points at, each as its own class shows."""

    def __init__(self, value):
        self.value = value
        self.base = next(field for field in value.type.fields() if field.is_base_class)

    def elements(self):
        header = self.value.cast(self.base.type)["_M_impl"]["_M_node"]
        pointer = gdb.lookup_type("NDataContainer").pointer()
        node = header["_M_next"]
        while node != header.address:
            stored = (node + 1).cast(pointer.pointer()).dereference()
            yield stored.cast(stored.dynamic_type)
            node = node["_M_next"]

    def to_string(self):
        count = sum(1 for _ in self.elements())
        return f"{count} container" + ("" if count == 1 else "s")

    def children(self):
        for index, element in enumerate(self.elements()):
            yield f"[{index}]", element.dereference() if int(element) else element


class Printers(gdb.printing.RegexpCollectionPrettyPrinter):
    """Leaves to gdb what it doesn't know the fields of: the library's debug symbols are missing then."""

    def __call__(self, value):
        kind = gdb.types.get_basic_type(value.type)
        is_known = kind.code == gdb.TYPE_CODE_STRUCT and kind.fields()
        return super().__call__(value) if is_known else None


def printers():
    collection = Printers("morvel")
    for name, pattern, printer in (
            ("text", "^(NString|NPath)$", TextPrinter),
            ("timestamp", "^NTimestamp$", TimestampPrinter),
            ("date", "^NDateTime$", DatePrinter),
            ("exception", "^(NException|Kel[A-Za-z]+Exception)$", ExceptionPrinter),
            ("document", "^NXML$", DocumentPrinter),
            ("array", "^NDataContainerArray$", ArrayPrinter)):
        collection.add_printer(name, pattern, printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
