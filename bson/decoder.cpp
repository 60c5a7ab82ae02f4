#include <algorithm>
#include <memory>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/batch.h"
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

// Room for a few elements at once: most documents need no more, and the others grow from there.
void reserve_for_first_elements(bsonDocument& document) {
    constexpr std::uint32_t few = 4;
    constexpr std::uint32_t smallest_element = 2;
    const std::uint32_t most = (document.messageSize - empty_document_size) / smallest_element;
    document.elementList.reserve(std::min(few, most));
}

// Fills one document and everything embedded in it. Every element hangs in the tree as soon as it exists, so
// that an exception leaves nothing behind.
class decoder {
  public:
    decoder(bsonDocument& root, bool validated)
        : bytes_(root.message),
          end_(root.message + root.messageSize),
          here_{&root, root.messageSize - 1},
          validated_(validated) {
        reserve_for_first_elements(root);
    }

    std::int32_t decode() {
        for (;;) {
            while (position_ >= here_.last) {
                if (above_.empty()) return 1;
                leave_document();
            }
            if (decode_element()) continue;
            if (above_.empty()) return 0;
            leave_document();  // the parent goes on behind a document that ends early
        }
    }

  private:
    struct open_document {
        bsonDocument* document;
        std::uint32_t last;  // where its terminating byte stands
    };

    void leave_document() {
        position_ = here_.last + 1;
        here_ = above_.back();
        above_.pop_back();
    }

    bool decode_element() {
        const std::uint8_t type = bytes_[position_];
        const layout& l = layout_of(type);
        const unsigned char* const key = bytes_ + position_ + 1;
        const unsigned char* const key_end = find_key_end(key, bytes_ + here_.last, end_);
        if (key_end == nullptr || l.body == shape::unknown) return false;

        extent value;
        const auto body = static_cast<std::uint32_t>(key_end + 1 - bytes_);
        if (!find_extent(bytes_, l, body, here_.last, value)) return false;
        const std::uint32_t size = value.end - value.begin;

        std::unique_ptr<bsonElement> element(elements_.make());
        element->valueType = l.body == shape::empty ? byte_of(bson_type::null) : type;
        element->key.assign(reinterpret_cast<const char*>(key), static_cast<std::size_t>(key_end - key));
        if (l.body == shape::document) {
            element->documentValue = documents_.make();
            element->documentValue->message = bytes_ + value.begin;
            element->documentValue->messageSize = size;
            element->documentValue->ownsMessage = false;
        } else if (size != 0) {
            element->value = new_copy_of_bytes(bytes_ + value.begin, size);
            element->valueSize = size;
        }
        bsonDocument* const inner = element->documentValue;
        append(here_.document->elementList, std::move(element));

        position_ = value.end;
        if (inner != nullptr && is_decodable(*inner)) {
            reserve_for_first_elements(*inner);
            above_.push_back(here_);
            here_ = {inner, value.end - 1};
            position_ = value.begin + 4;
        }
        return true;
    }

    // Whatever stands inside a valid document has been validated with it.
    bool is_decodable(const bsonDocument& inner) const {
        return validated_ || !above_.empty() || bsonDocument::isMessageValid(inner.message, inner.messageSize, false);
    }

    unsigned char* bytes_;
    const unsigned char* end_;
    open_document here_;
    std::uint32_t position_ = 4;
    std::vector<open_document> above_;
    bool validated_;
    batch<bsonElement> elements_;
    batch<bsonDocument> documents_;
};

}  // namespace
}  // namespace lutc_bson

std::int32_t bsonDocument::convertMessageToElementList(bool validate) {
    clearElementList();
    if (validate && !isMessageValid(message, messageSize, false)) return 0;
    if (message == nullptr || messageSize <= lutc_bson::empty_document_size) return 1;
    return lutc_bson::decoder(*this, validate).decode();
}
