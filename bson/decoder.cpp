#include <algorithm>
#include <memory>
#include <vector>

#include "bson/batch.h"
#include <lutc/bsonDocument.h>
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

bool isKnownType(std::uint8_t t) {
    return (t >= type::real && t <= type::int64) || t == type::maxKey || t == type::minKey;
}

bool decodesToNull(std::uint8_t t) {
    return t == type::null || t == type::undefined || t == type::maxKey || t == type::minKey;
}

// Room for a few elements at once: most documents need no more, and the others grow from there.
void reserveForFirstElements(bsonDocument& document) {
    constexpr std::uint32_t few = 4;
    constexpr std::uint32_t smallestElement = 2;
    const std::uint32_t most = (document.messageSize - emptyDocumentSize) / smallestElement;
    document.elementList.reserve(std::min(few, most));
}

// Fills one document and everything embedded in it. Every element hangs in the tree as soon as it exists, so
// that an exception leaves nothing behind.
class decoder {
  public:
    decoder(bsonDocument& root, bool validated)
        : bytes_(root.message), here_{&root, root.messageSize - 1}, validated_(validated) {
        reserveForFirstElements(root);
    }

    std::int32_t decode() {
        for (;;) {
            while (position_ >= here_.last) {
                if (above_.empty()) return 1;
                leaveDocument();
            }
            if (decodeElement()) continue;
            if (above_.empty()) return 0;
            leaveDocument();  // the parent goes on behind a document that ends early
        }
    }

  private:
    struct open_document {
        bsonDocument* document;
        std::uint32_t last;  // where its terminating byte stands
    };

    void leaveDocument() {
        position_ = here_.last + 1;
        here_ = above_.back();
        above_.pop_back();
    }

    bool decodeElement() {
        const std::uint8_t t = bytes_[position_];
        const unsigned char* const key = bytes_ + position_ + 1;
        const auto* const keyEnd = static_cast<const unsigned char*>(std::memchr(key, 0, here_.last - position_ - 1));
        if (keyEnd == nullptr || !isKnownType(t)) return false;

        extent value;
        const auto body = static_cast<std::uint32_t>(keyEnd + 1 - bytes_);
        if (!findExtent(bytes_, t, body, here_.last, value)) return false;
        const std::uint32_t size = value.end - value.begin;

        std::unique_ptr<bsonElement> element(elements_.make());
        element->valueType = decodesToNull(t) ? type::null : t;
        element->key.assign(reinterpret_cast<const char*>(key), static_cast<std::size_t>(keyEnd - key));
        if (isDocumentType(t)) {
            element->documentValue = documents_.make();
            element->documentValue->message = bytes_ + value.begin;
            element->documentValue->messageSize = size;
            element->documentValue->ownsMessage = false;
        } else if (size != 0) {
            element->value = newCopyOfBytes(bytes_ + value.begin, size);
            element->valueSize = size;
        }
        bsonDocument* const inner = element->documentValue;
        append(here_.document->elementList, std::move(element));

        position_ = value.end;
        if (inner != nullptr && isDecodable(*inner)) {
            reserveForFirstElements(*inner);
            above_.push_back(here_);
            here_ = {inner, value.end - 1};
            position_ = value.begin + 4;
        }
        return true;
    }

    // Whatever stands inside a valid document has been validated with it.
    bool isDecodable(const bsonDocument& inner) const {
        return validated_ || !above_.empty() || bsonDocument::isMessageValid(inner.message, inner.messageSize, false);
    }

    unsigned char* bytes_;
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
    if (message == nullptr || messageSize <= lutc_bson::emptyDocumentSize) return 1;
    return lutc_bson::decoder(*this, validate).decode();
}
