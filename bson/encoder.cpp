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
    std::uint64_t large = 0;  // of it, values that may be borrowed

    const bsonDocument* visit(const bsonElement& element) {
        const bsonDocument* const inner = document_to_encode(element);
        total += 1 + element.key.size() + 1;
        total += inner != nullptr ? empty_document_size : body_size(element);
        if (inner == nullptr && body_value_size(element) >= borrowed_size) large += body_value_size(element);
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

// Writes the documents one inside the other into one buffer, less the values that are borrowed.
class writer {
  public:
    writer(unsigned char* buffer, std::vector<iovec>* pieces) : at_(buffer + 4), piece_(buffer), pieces_(pieces) {}

    const bsonDocument* visit(const bsonElement& element) {
        *at_++ = element.valueType;
        put(element.key.c_str(), element.key.size() + 1);
        if (is_document_type(element.valueType)) {
            embedded_.push_back({at_, borrowed_});
            at_ += 4;
            return element.documentValue;
        }
        put_head(element);
        const std::uint32_t size = body_value_size(element);
        if (pieces_ != nullptr && size >= borrowed_size) {
            end_piece();
            pieces_->push_back({element.value, size});
            borrowed_ += size;
        } else if (size != 0) {
            put(element.value, size);
        }
        return nullptr;
    }

    void leave(const bsonElement& holder) {
        const unsigned char* const bytes = embedded_.back().bytes;
        const std::uint32_t size = finish(embedded_.back());
        embedded_.pop_back();
        if (pieces_ != nullptr) return;
        give_message(*holder.documentValue, malloc_ptr<unsigned char>(new_copy_of_bytes(bytes, size)), size);
    }

    void finish(unsigned char* buffer) {
        finish({buffer, 0});
        if (pieces_ != nullptr) end_piece();
    }

  private:
    struct open_document {
        unsigned char* bytes;
        std::uint32_t borrowed_before;
    };

    // Ends the document that starts there; its size.
    std::uint32_t finish(const open_document& document) {
        *at_++ = 0;
        const std::uint32_t size =
            static_cast<std::uint32_t>(at_ - document.bytes) + borrowed_ - document.borrowed_before;
        store32(document.bytes, size);
        return size;
    }

    void end_piece() {
        pieces_->push_back({piece_, static_cast<std::size_t>(at_ - piece_)});
        piece_ = at_;
    }

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
    unsigned char* piece_;        // what is not in a piece yet
    std::vector<iovec>* pieces_;  // null: nothing is borrowed, and embedded documents get messages of their own
    std::uint32_t borrowed_ = 0;  // bytes so far
    std::vector<open_document> embedded_;  // those that have not ended, but for the outermost
};

malloc_ptr<unsigned char> write(const bsonDocument& document, std::uint64_t size, std::vector<iovec>* pieces) {
    malloc_ptr<unsigned char> buffer(new_bytes(size));
    writer out(buffer.get(), pieces);
    walk_tree(document, out);
    out.finish(buffer.get());
    return buffer;
}

}  // namespace

encoded_document encode(const bsonDocument& document) {
    measurer size;
    walk_tree(document, size);
    encoded_document result;
    result.bytes = write(document, size.total - size.large, &result.pieces);
    return result;
}

}  // namespace lutc_bson

using namespace lutc_bson;

std::uint32_t bsonDocument::calculateMessageSizeFromKeyValueList() const {
    measurer size;
    walk_tree(*this, size);
    return static_cast<std::uint32_t>(size.total);
}

void bsonDocument::convertElementListToMessage() {
    const std::uint32_t size = calculateMessageSizeFromKeyValueList();
    give_message(*this, write(*this, size, nullptr), size);
}
