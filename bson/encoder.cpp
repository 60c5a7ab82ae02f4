#include "bson/encoder.h"

#include <stdexcept>
#include <utility>

#include "bson/element.h"
#include "bson/tree_walk.h"
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

// The body's length fields and subtype: what stands between the key and the value bytes.
std::uint32_t bodyHeadSize(std::uint8_t t) {
    switch (t) {
        case type::string:
        case type::dbPointer:
        case type::javascript:
        case type::symbol:
            return 4;
        case type::binary:
            return 5;
        default:
            return 0;
    }
}

std::uint32_t bodyValueSize(const bsonElement& element) {
    return element.valueType == type::null ? 0 : readableSize(element);
}

const bsonDocument* documentToEncode(const bsonElement& element) {
    if (!isDocumentType(element.valueType)) return nullptr;
    if (element.documentValue == nullptr) {
        throw std::invalid_argument("element \"" + element.key + "\" carries no document");
    }
    return element.documentValue;
}

// Lengths add up over all levels, so that the walk needs nothing but a total.
struct measurer {
    char mark = 0;
    std::uint64_t total = emptyDocumentSize;

    const bsonDocument* visit(const bsonElement& element) {
        const bsonDocument* const inner = documentToEncode(element);
        total += 1 + element.key.size() + 1;
        total += inner != nullptr ? emptyDocumentSize
                                  : std::uint64_t{bodyHeadSize(element.valueType)} + bodyValueSize(element);
        if (total > UINT32_MAX) throw std::length_error("the encoded document is longer than 32 bits can say");
        return inner;
    }

    void leave(const bsonElement&, char) {}
};

void giveMessage(bsonDocument& document, malloc_ptr<unsigned char> bytes, std::uint32_t size) noexcept {
    document.clearMessage();
    document.message = bytes.release();
    document.messageSize = size;
}

// Writes the documents one inside the other into one buffer; mark is where the current one starts.
class writer {
  public:
    std::uint32_t mark = 0;

    writer(unsigned char* buffer, bool embeddedMessages) : start_(buffer), at_(buffer + 4), keep_(embeddedMessages) {}

    const bsonDocument* visit(const bsonElement& element) {
        *at_++ = element.valueType;
        put(element.key.c_str(), element.key.size() + 1);
        if (isDocumentType(element.valueType)) {
            mark = static_cast<std::uint32_t>(at_ - start_);
            at_ += 4;
            return element.documentValue;
        }
        putHead(element);
        if (const std::uint32_t size = bodyValueSize(element)) put(element.value, size);
        return nullptr;
    }

    void leave(const bsonElement& holder, std::uint32_t documentStart) {
        const std::uint32_t size = finish(documentStart);
        if (!keep_) return;
        const unsigned char* const bytes = start_ + documentStart;
        giveMessage(*holder.documentValue, malloc_ptr<unsigned char>(newCopyOfBytes(bytes, size)), size);
    }

    std::uint32_t finish(std::uint32_t documentStart) {
        *at_++ = 0;
        const auto size = static_cast<std::uint32_t>(at_ - start_) - documentStart;
        store32(start_ + documentStart, size);
        return size;
    }

  private:
    void put(const void* bytes, std::size_t size) {
        std::memcpy(at_, bytes, size);
        at_ += size;
    }

    void putHead(const bsonElement& element) {
        const std::uint32_t headSize = bodyHeadSize(element.valueType);
        if (headSize == 0) return;
        const std::uint32_t uncounted = element.valueType == type::dbPointer ? objectIdSize : 0;
        store32(at_, readableSize(element) - uncounted);
        if (headSize == 5) at_[4] = element.binarySubtype;
        at_ += headSize;
    }

    unsigned char* start_;
    unsigned char* at_;
    bool keep_;  // every embedded document gets a message of its own
};

encoded_document encode(const bsonDocument& document, bool embeddedMessages) {
    const std::uint32_t size = document.calculateMessageSizeFromKeyValueList();
    encoded_document result{malloc_ptr<unsigned char>(newBytes(size)), size};
    writer out(result.bytes.get(), embeddedMessages);
    walkTree(document, out);
    out.finish(0);
    return result;
}

}  // namespace

bool isDecodedWhole(const bsonDocument& document) {
    std::uint64_t size = emptyDocumentSize;
    for (const bsonElement* const element : document.elementList) {
        size += 1 + element->key.size() + 1;
        size += isDocumentType(element->valueType)
                    ? element->documentValue->messageSize
                    : std::uint64_t{bodyHeadSize(element->valueType)} + bodyValueSize(*element);
    }
    return size == document.messageSize;
}

encoded_document encode(const bsonDocument& document) { return encode(document, false); }

}  // namespace lutc_bson

using namespace lutc_bson;

std::uint32_t bsonDocument::calculateMessageSizeFromKeyValueList() const {
    measurer size;
    walkTree(*this, size);
    return static_cast<std::uint32_t>(size.total);
}

void bsonDocument::convertElementListToMessage() {
    encoded_document encoded = encode(*this, true);
    giveMessage(*this, std::move(encoded.bytes), encoded.size);
}
