#include "bson/encoder.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "bson/element.h"
#include "bson/tree_walk.h"
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

std::uint32_t body_value_size(const bsonElement& element) {
    return element.valueType == bson_type::null ? 0 : readable_size(element);
}

std::uint64_t body_size(const bsonElement& element) {
    return std::uint64_t{layout_of(element.valueType).head} + body_value_size(element);
}

const bsonDocument* document_to_encode(const bsonElement& element) {
    if (!is_document_type(element.valueType)) return nullptr;
    if (element.documentValue == nullptr) {
        throw std::invalid_argument("element \"" + element.key + "\" carries no document");
    }
    return element.documentValue;
}

// Lengths add up over all levels, so that the walk needs nothing but a total.
struct measurer {
    std::uint64_t total = empty_document_size;

    const bsonDocument* visit(const bsonElement& element) {
        const bsonDocument* const inner = document_to_encode(element);
        total += 1 + element.key.size() + 1;
        total += inner != nullptr ? empty_document_size : body_size(element);
        if (total > UINT32_MAX) throw std::length_error("the encoded document is longer than 32 bits can say");
        return inner;
    }

    void leave(const bsonElement&) {}
};

void give_message(bsonDocument& document, malloc_ptr<unsigned char> bytes, std::uint32_t size) noexcept {
    document.clearMessage();
    document.message = bytes.release();
    document.messageSize = size;
}

// Writes the documents one inside the other into one buffer.
class writer {
  public:
    writer(unsigned char* buffer, bool embedded_messages) : at_(buffer + 4), keep_(embedded_messages) {}

    const bsonDocument* visit(const bsonElement& element) {
        *at_++ = element.valueType;
        put(element.key.c_str(), element.key.size() + 1);
        if (is_document_type(element.valueType)) {
            embedded_.push_back(at_);
            at_ += 4;
            return element.documentValue;
        }
        put_head(element);
        if (const std::uint32_t size = body_value_size(element)) put(element.value, size);
        return nullptr;
    }

    void leave(const bsonElement& holder) {
        const unsigned char* const bytes = embedded_.back();
        const std::uint32_t size = finish(embedded_.back());
        embedded_.pop_back();
        if (!keep_) return;
        give_message(*holder.documentValue, malloc_ptr<unsigned char>(new_copy_of_bytes(bytes, size)), size);
    }

    // Ends the document that starts there; its size.
    std::uint32_t finish(unsigned char* document) {
        *at_++ = 0;
        const auto size = static_cast<std::uint32_t>(at_ - document);
        store32(document, size);
        return size;
    }

  private:
    void put(const void* bytes, std::size_t size) {
        std::memcpy(at_, bytes, size);
        at_ += size;
    }

    void put_head(const bsonElement& element) {
        const layout& l = layout_of(element.valueType);
        if (l.head == 0) return;
        store32(at_, readable_size(element) - (l.size - l.head));  // less what the length doesn't count
        if (l.body == shape::bytes) at_[4] = element.binarySubtype;
        at_ += l.head;
    }

    unsigned char* at_;
    std::vector<unsigned char*> embedded_;  // where the documents begin that have not ended, but for the outermost
    bool keep_;                             // every embedded document gets a message of its own
};

encoded_document encode(const bsonDocument& document, bool embedded_messages) {
    const std::uint32_t size = document.calculateMessageSizeFromKeyValueList();
    encoded_document result{malloc_ptr<unsigned char>(new_bytes(size)), size};
    writer out(result.bytes.get(), embedded_messages);
    walk_tree(document, out);
    out.finish(result.bytes.get());
    return result;
}

}  // namespace

encoded_document encode(const bsonDocument& document) { return encode(document, false); }

}  // namespace lutc_bson

using namespace lutc_bson;

std::uint32_t bsonDocument::calculateMessageSizeFromKeyValueList() const {
    measurer size;
    walk_tree(*this, size);
    return static_cast<std::uint32_t>(size.total);
}

void bsonDocument::convertElementListToMessage() {
    encoded_document encoded = encode(*this, true);
    give_message(*this, std::move(encoded.bytes), encoded.size);
}
