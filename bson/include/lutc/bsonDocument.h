// bsonElement and bsonDocument: BSON documents in memory and on the wire.
//
// Conventions
//
// 1. Buffers. Value bytes and message bytes come from malloc and go back with free. A flag beside each buffer
//    (ownsValue, ownsMessage) says whether the object releases it. A buffer held with the flag clear is borrowed: its
//    owner keeps it alive and unchanged for as long as the object refers to it. A null pointer with a size reads as
//    no bytes.
// 2. Elements and documents are created with new and destroyed with delete, one by one. (Decoding and copying take
//    their memory in blocks of up to 1024 objects; a block goes with the last of its objects.) A document owns the
//    elements of its list; an element owns its embedded document when ownsDocument is set and merely refers to it
//    otherwise. A document must not contain itself, directly or through elements that refer to it.
// 3. The message and the element list of a document are independent. Encoding rewrites the message from the list,
//    decoding rewrites the list from the message; nothing else brings them together.
// 4. Out of memory: std::bad_alloc, or null from new (std::nothrow) when the object itself finds no memory. Nothing
//    is leaked, and every object involved can still be used and destroyed. Clearing and destroying allocate nothing
//    and never throw. No operation recurses on the depth of a document, and all but convertElementListToMessage (see
//    there) and the indentation of debugPrint take time and memory linear in its size.
// 5. Nothing is shared between objects except borrowed buffers and documents, and there are no locks: one object is
//    used by one thread at a time.
// 6. Keys are free of zero bytes. They match when they have the same length and the same bytes. An occurrence counts
//    the matching elements from 0 in list order; a negative occurrence matches nothing.
// 7. Values. Constructors and adders take the same types and refuse all others when they are compiled, so that nothing
//    becomes a boolean or another number unseen: a boolean is a bool or a reference into std::vector<bool>; an int32 is
//    any integer that widens to it without loss, a plain enum included, but no character; an int64 is a signed integer
//    of its size; a double is a double or a float; a text is whatever converts to std::string. A null const char* is
//    the empty text; the literal nullptr is refused.
#ifndef LUTC_BSON_BSONDOCUMENT_H
#define LUTC_BSON_BSONDOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__GNUC__)
#define LUTC_BSON_EXPORT __attribute__((visibility("default")))
#else
#define LUTC_BSON_EXPORT
#endif

class bsonDocument;

// The type bytes of BSON. An element holds its byte as a number (valueType), which may also be none of these.
enum class bson_type : std::uint8_t {
    real = 0x01,  // double
    string = 0x02,
    document = 0x03,
    array = 0x04,
    binary = 0x05,
    undefined = 0x06,
    object_id = 0x07,
    boolean = 0x08,
    utc = 0x09,
    null = 0x0A,
    regular_expression = 0x0B,
    db_pointer = 0x0C,
    javascript = 0x0D,
    symbol = 0x0E,  // deprecated
    javascript_with_scope = 0x0F,
    int32 = 0x10,
    timestamp = 0x11,
    int64 = 0x12,
    max_key = 0x7F,
    min_key = 0xFF
};

constexpr bool operator==(std::uint8_t byte, bson_type type) noexcept { return bson_type{byte} == type; }
constexpr bool operator!=(std::uint8_t byte, bson_type type) noexcept { return bson_type{byte} != type; }

namespace lutc_bson {

template <class T, class... Types>
inline constexpr bool is_any_of = (std::is_same_v<T, Types> || ...);

template <class T>
inline constexpr bool is_boolean = is_any_of<T, bool, std::vector<bool>::reference>;

// The type in which the number T takes part in arithmetic; void when T is no number.
template <class T, class = void>
struct promoted {
    using type = void;
};

template <class T>
struct promoted<T, std::enable_if_t<is_any_of<T, signed char, unsigned char, short, unsigned short, int, unsigned, long,
                                              unsigned long, long long, unsigned long long> ||
                                    (std::is_enum_v<T> && std::is_convertible_v<T, long long>)>> {
    using type = decltype(+std::declval<T>());
};

template <class T>
inline constexpr bool is_int32 =
    is_any_of<typename promoted<T>::type, int, std::conditional_t<sizeof(long) == 4, long, int>>;

template <class T>
inline constexpr bool is_int64 = !is_int32<T> && is_any_of<typename promoted<T>::type, long, long long>;

template <class T>
inline constexpr bool is_text = std::is_convertible_v<T, std::string> && !std::is_same_v<T, std::nullptr_t>;

template <class T>
inline constexpr bool is_value =
    is_boolean<T> || is_int32<T> || is_int64<T> || is_any_of<T, double, float> || is_text<T>;

template <bool refused>
using refuse_if = std::enable_if_t<refused, int>;

template <class T>
using integer_of =
    std::enable_if_t<is_int32<T> || is_int64<T>, std::conditional_t<is_int32<T>, std::int32_t, std::int64_t>>;

}  // namespace lutc_bson

// One key with one typed value. The type byte tells the kind:
//
//   byte  kind                    value bytes
//   0x01  double                  8: IEEE 754 binary64, little-endian
//   0x02  string                  the characters and one zero byte
//   0x03  embedded document       none; the value is documentValue
//   0x04  array document          none; the value is documentValue, whose keys are "0", "1", ...
//   0x05  binary                  the bytes; the subtype is in binarySubtype
//   0x06  undefined               none; decoding turns it into null
//   0x07  object id               12
//   0x08  boolean                 1: 1 for true, 0 for false
//   0x09  utc                     8: signed, little-endian
//   0x0A  null                    none
//   0x0B  regular expression      two strings, each with its zero byte
//   0x0C  db pointer              a string with its zero byte, then 12 id bytes
//   0x0D  javascript              as string
//   0x0E  deprecated (symbol)     as string
//   0x0F  javascript with scope   the whole encoded value, its own 4-byte total length included
//   0x10  int32                   4: signed, little-endian
//   0x11  timestamp               8: little-endian
//   0x12  int64                   8: signed, little-endian
//   0x7F  max key                 none; decoding turns it into null
//   0xFF  min key                 none; decoding turns it into null
//
// The raw constructor accepts any type byte and any bytes. Bytes that don't have the shape of their kind are encoded as
// they are, and the message is then not valid. Decoding leaves value null where there are no bytes: for null, an empty
// binary, and a text whose length on the wire is 0.
class LUTC_BSON_EXPORT bsonElement {
  public:
    std::uint8_t valueType;       // the type byte of the table above
    std::uint32_t valueSize;      // number of bytes at value
    unsigned char* value;         // the value bytes, or null
    bool ownsValue;               // the element releases the value bytes
    bool ownsDocument;            // the element destroys documentValue
    bsonDocument* documentValue;  // the embedded document of a 0x03 or 0x04 element, else null
    std::uint8_t binarySubtype;   // the subtype of a binary element
    std::string key;              // free of zero bytes

    // Construction. A key is copied. The value is stored as the setter of that kind stores it.
    bsonElement();                                 // key "", type 0, no value
    explicit bsonElement(const std::string& key);  // null
    bsonElement(const std::string& key, bool value);
    bsonElement(const std::string& key, std::int32_t value);
    bsonElement(const std::string& key, std::int64_t value);
    bsonElement(const std::string& key, double value);
    bsonElement(const std::string& key, const std::string& value);
    bsonElement(const std::string& key, const char* value);  // a string, zero-terminated; null is the empty string
    bsonElement(const std::string& key, const unsigned char* bytes, std::uint32_t size, bool copy,
                std::uint8_t subtype);
    bsonElement(const std::string& key, bsonDocument* document, bool adopt, bool isArray);

    // The raw constructor. Types 0x03 and 0x04: the bytes are copied into a new embedded document that is decoded
    // (with validation) and owned; the element keeps no value bytes. Every other type: with copy set the element owns
    // a copy of the bytes, else it borrows them.
    bsonElement(std::uint8_t type, const std::string& key, const unsigned char* bytes, std::uint32_t size, bool copy,
                std::uint8_t subtype);
    bsonElement(bson_type type, const std::string& name, const unsigned char* bytes, std::uint32_t size, bool copy,
                std::uint8_t subtype)
        : bsonElement(static_cast<std::uint8_t>(type), name, bytes, size, copy, subtype) {}

    template <class T, class Integer = lutc_bson::integer_of<T>>
    bsonElement(const std::string& name, T number) : bsonElement(name, static_cast<Integer>(number)) {}
    template <class T, lutc_bson::refuse_if<!lutc_bson::is_value<T>> = 0>
    bsonElement(const std::string& key, T value) = delete;
    explicit bsonElement(std::nullptr_t) = delete;

    bsonElement(const bsonElement&) = delete;  // see getCopy
    bsonElement& operator=(const bsonElement&) = delete;
    ~bsonElement();

    // Decoding makes elements and documents many at a time; delete takes them back one by one all the same.
    static void* operator new(std::size_t size);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
        try {
            return operator new(size);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
    static void operator delete(void* element) noexcept;
    static void operator delete(void* element, const std::nothrow_t&) noexcept { operator delete(element); }

    // Setters. Each releases the value held before and sets the kind; all but setBinaryValue set the subtype to 0.
    // The new value is stored in a buffer of its own. When memory runs out the element keeps its old value.
    void setNullValue() noexcept;
    void setBoolValue(bool value);
    void setInt32Value(std::int32_t value);
    void setInt64Value(std::int64_t value);
    void setDoubleValue(double value);
    void setStringValue(const std::string& value);  // inner zero bytes included; std::length_error from 4 GiB on
    void setStringValue(const char* text) { setStringValue(std::string(text != nullptr ? text : "")); }
    void setStringValue(std::nullptr_t) = delete;
    // copy set: the element owns a copy of the size bytes. copy clear: it borrows the bytes.
    void setBinaryValue(const unsigned char* bytes, std::uint32_t size, bool copy, std::uint8_t subtype);
    // adopt set: the element destroys the document with its value. adopt clear: the caller keeps it alive. The document
    // that the element has already is kept, not destroyed, when it is set again.
    void setDocumentValue(bsonDocument* document, bool adopt, bool isArray) noexcept;

    template <class T, lutc_bson::refuse_if<!lutc_bson::is_boolean<T>> = 0>
    void setBoolValue(T value) = delete;

    // Getters. None looks at the kind: each reads the stored bytes in the way that its name says, and gives 0, 0.0,
    // false or the empty string when there are none.
    std::uint8_t getValueType() const noexcept;
    std::uint32_t getValueSize() const noexcept;
    unsigned char* getValue() const noexcept;         // stays the element's
    bsonDocument* getDocumentValue() const noexcept;  // stays the element's when ownsDocument is set
    // Returns value; writes valueSize to size, and ownsValue and binarySubtype where the pointer is not null.
    unsigned char* getBinaryValue(std::uint32_t* size, bool* owned, std::uint8_t* subtype) const noexcept;
    bool getBoolValue() const noexcept;           // the first byte is not 0
    std::int32_t getInt32Value() const noexcept;  // fewer than 4 bytes: the first byte, 0 to 255
    std::int64_t getInt64Value() const noexcept;  // 4 to 7 bytes: getInt32Value; fewer: the first byte
    double getDoubleValue() const noexcept;       // fewer than 8 bytes: 0.0
    std::string getStringValue() const;           // the bytes without the last one

    // Releases the value: the bytes that the element owns, and the document that it owns. Keeps kind and subtype.
    void clearValue() noexcept;

    // A new element, the caller's. Deep for what this element owns, shared for what it borrows; a document that it
    // merely refers to is shared too.
    bsonElement* getCopy() const;

    // Writes the element to standard output, level tab characters in front; the elements of an embedded document
    // follow on lines of their own at level + 1. level is 0 or more; a 0x03 or 0x04 element carries a document.
    //
    //   name:(string)text          frame:(int32)7           colour:(double)0.500000
    //   lut:(binary [length=3])01,AB,FF        at most 8 bytes are shown, then ",..."
    //   grade:(embedded document){             the elements, then "}" under the key; arrays: "[" and "]"
    void debugPrint(std::int32_t level) const;
};

namespace lutc_bson {

// Appends an element that the list then owns.
inline void append(std::vector<bsonElement*>& list, std::unique_ptr<bsonElement> element) {
    constexpr std::size_t few = 8;  // most documents that are built need no more
    if (list.capacity() == 0) list.reserve(few);
    list.push_back(element.get());
    element.release();
}

}  // namespace lutc_bson

// One document: its elements, and its encoded bytes (the message).
class LUTC_BSON_EXPORT bsonDocument {
  public:
    std::vector<bsonElement*> elementList;  // in document order; owned
    unsigned char* message;                 // the encoded document, or null
    std::uint32_t messageSize;              // number of bytes at message
    bool ownsMessage;                       // the document releases the message

    bsonDocument();  // no elements, no message
    // The message is a copy of the bytes (copy set) or the bytes themselves, borrowed. With parse set it is decoded
    // as by convertMessageToElementList(true); bytes that are no valid document leave the element list empty.
    bsonDocument(const unsigned char* bytes, std::uint32_t size, bool copy, bool parse);

    bsonDocument(const bsonDocument&) = delete;  // see getCopy
    bsonDocument& operator=(const bsonDocument&) = delete;
    ~bsonDocument();

    static void* operator new(std::size_t size);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
        try {
            return operator new(size);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
    static void operator delete(void* document) noexcept;
    static void operator delete(void* document, const std::nothrow_t&) noexcept { operator delete(document); }

    void clearMessage() noexcept;      // releases the message; the element list is untouched
    void clearElementList() noexcept;  // destroys every element and every embedded document that they own

    // A new document, the caller's: copies of the elements (bsonElement::getCopy) and of the message when it is
    // owned; a borrowed message is shared. An embedded document made by decoding borrows its message from its
    // parent's, and so does its copy: neither may outlive the parent's message.
    bsonDocument* getCopy() const;

    // The length in bytes of the document that convertElementListToMessage writes for the current list.
    // Throws std::length_error when the length exceeds 32 bits, std::invalid_argument when a 0x03 or 0x04 element
    // carries no document.
    std::uint32_t calculateMessageSizeFromKeyValueList() const;

    // Replaces the message with the encoding of the element list; the document owns it. Every embedded document is
    // encoded from its own list too and owns its new message, so time and memory grow with the sum of the lengths of
    // all embedded documents. Throws as calculateMessageSizeFromKeyValueList does, before anything is changed.
    // When memory runs out, this document keeps its message, and each embedded document has its old or its new one.
    void convertElementListToMessage();

    // Whether the bytes are one complete, well-formed document. A key that no zero byte ends is refused. A type byte
    // that is not in the table above passes, as a kind without a body; so does a text of length 0, which has no zero
    // byte. isArray: the keys must also be the element indices "0", "1", ... in order, as those of every array inside
    // the document must. They are read as numbers: white space and a sign may stand in front, reading stops at the
    // first character that is no digit, and no digits are 0.
    static bool isMessageValid(const unsigned char* bytes, std::uint32_t size, bool isArray);

    // Replaces the element list with the elements decoded from the message. Returns 1 on success; 0 when validate is
    // set and the message is not valid (the list is then empty), or at a type byte that is not in the table above
    // (the list then holds the elements before it). An embedded document with an unknown type byte keeps the elements
    // before it and does not fail its parent. With validate clear the caller vouches that the bytes are well-formed:
    // nothing outside the message is read, a key or a body that doesn't end before the message's last byte ends the
    // decoding with 0, and embedded documents are validated all the same; one that isn't valid has no elements. Up to 5
    // bytes are an empty document.
    // Every element owns a copy of its value bytes. Embedded documents borrow their message from this one's.
    std::int32_t convertMessageToElementList(bool validate);

    // Finding. Elements found stay the document's; they are valid until deleted or until the list is cleared.
    bsonElement* getElementWithKey(const std::string& key, std::int32_t occurrence) const noexcept;
    bsonElement* getElementWithValueType(std::uint8_t type, std::int32_t occurrence) const noexcept;
    std::vector<bsonElement*> getElementListWithKey(const std::string& key) const;
    std::vector<bsonElement*> getElementListWithValueType(std::uint8_t type) const;

    // Adding: a new element at the end of the list, whatever keys are there already. An integer key is an index,
    // written in decimal; an integer value of addStringElement likewise. addBinaryElement copies the bytes (subtype
    // 0). addDocumentElement hands the document over to the new element; when it throws, the document stays the
    // caller's.
    void addBooleanElement(const std::string& key, bool value);
    void addInt32Element(const std::string& key, std::int32_t value);
    void addInt32Element(std::int32_t index, std::int32_t value);
    void addDoubleElement(const std::string& key, double value);
    void addStringElement(const std::string& key, const std::string& value);
    void addStringElement(std::int32_t index, const std::string& value);
    void addStringElement(const std::string& key, std::int32_t value);
    void addStringElement(std::int32_t index, std::int32_t value);
    void addBinaryElement(const std::string& key, const unsigned char* bytes, std::uint32_t size);
    void addDocumentElement(const std::string& key, bsonDocument* document, bool isArray);
    void addDocumentElement(std::int32_t index, bsonDocument* document, bool isArray);

    void addStringElement(const std::string& key, const char* text) {
        lutc_bson::append(elementList, std::make_unique<bsonElement>(key, text));
    }
    void addStringElement(std::int32_t index, const char* text) { addStringElement(std::to_string(index), text); }
    template <class T, lutc_bson::refuse_if<!lutc_bson::is_boolean<T>> = 0>
    void addBooleanElement(const std::string& key, T value) = delete;
    template <class Key, class T, lutc_bson::refuse_if<!lutc_bson::is_int32<T>> = 0>
    void addInt32Element(const Key& key, T value) = delete;
    template <class Key, class T, lutc_bson::refuse_if<!lutc_bson::is_int32<T> && !lutc_bson::is_text<T>> = 0>
    void addStringElement(const Key& key, T value) = delete;

    // Typed getters. Each looks at the first element with the key alone. 1: the value was written. 0: no such
    // element. -1: it is of another kind. The outputs are written only with 1. Bytes and documents stay the
    // element's. Nothing is converted, but that getFloatWithKey rounds a double to single precision.
    std::int32_t getStringWithKey(const std::string& key, std::string& out) const;
    std::int32_t getInt32WithKey(const std::string& key, std::int32_t* out) const noexcept;
    std::int32_t getDoubleWithKey(const std::string& key, double* out) const noexcept;
    std::int32_t getFloatWithKey(const std::string& key, float* out) const noexcept;
    std::int32_t getBooleanWithKey(const std::string& key, bool* out) const noexcept;
    std::int32_t getBinaryWithKey(const std::string& key, unsigned char** data, std::uint32_t* size) const noexcept;
    std::int32_t getDocumentWithKey(const std::string& key, bsonDocument** out) const noexcept;
    std::int32_t getArrayWithKey(const std::string& key, bsonDocument** out) const noexcept;

    // Deleting: destroys the element at that occurrence and removes it from the list; the others keep their order.
    // Returns 1, or 0 when there is no such element.
    std::int32_t deleteElementWithKey(const std::string& key, std::int32_t occurrence) noexcept;
    std::int32_t deleteElementWithValueType(std::uint8_t type, std::int32_t occurrence) noexcept;

    // Writes every element to standard output (bsonElement::debugPrint); nothing for an empty document.
    void debugPrint(std::int32_t level) const;
};

#endif
