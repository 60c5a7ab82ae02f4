// Where elements and documents are made and destroyed: one by one, and whole trees of them when they are decoded,
// copied and cleared. It is one file so that the loops over trees have all of it inline.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/batch.h"
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/tree_walk.h"
#include "bson/wire_format.h"

using namespace lutc_bson;

bsonElement::bsonElement()
    : valueType(0),
      valueSize(0),
      value(nullptr),
      ownsValue(true),
      ownsDocument(true),
      documentValue(nullptr),
      binarySubtype(0) {}

bsonElement::~bsonElement() { clearValue(); }

void* bsonElement::operator new(std::size_t size) { return new_alone(size); }

void bsonElement::operator delete(void* element) noexcept { delete_placed(element); }

void bsonElement::clearValue() noexcept {
    if (ownsValue && valueSize != 0) std::free(value);
    value = nullptr;
    valueSize = 0;
    ownsValue = true;
    if (ownsDocument) delete documentValue;
    documentValue = nullptr;
    ownsDocument = true;
}

bsonDocument::bsonDocument() : message(nullptr), messageSize(0), ownsMessage(true) {}

bsonDocument::~bsonDocument() {
    clearMessage();
    clearElementList();
}

void* bsonDocument::operator new(std::size_t size) { return new_alone(size); }

void bsonDocument::operator delete(void* document) noexcept { delete_placed(document); }

void bsonDocument::clearMessage() noexcept {
    if (ownsMessage && messageSize != 0) std::free(message);
    message = nullptr;
    messageSize = 0;
    ownsMessage = true;
}

// Depth first, without recursion or memory: while an embedded document is destroyed, the element that holds it refers
// to the document above instead.
void bsonDocument::clearElementList() noexcept {
    bsonDocument* here = this;
    bsonDocument* above = nullptr;
    destroyer<bsonElement> elements;
    destroyer<bsonDocument> documents;
    for (;;) {
        if (here->elementList.empty()) {
            if (here == this) return;
            documents.destroy(here);
            here = above;
            above = std::exchange(here->elementList.back()->documentValue, nullptr);
        } else if (bsonElement& last = *here->elementList.back(); last.ownsDocument && last.documentValue != nullptr) {
            above = std::exchange(here, std::exchange(last.documentValue, above));
            continue;
        }
        elements.destroy(here->elementList.back());
        here->elementList.pop_back();
    }
}

namespace {

// Makes a new element a copy of source that holds no embedded document yet.
void copy_without_document(bsonElement& copy, const bsonElement& source) {
    copy.key = source.key;
    copy.valueType = source.valueType;
    copy.binarySubtype = source.binarySubtype;
    copy.value = stored_bytes(source.value, source.valueSize, source.ownsValue);
    copy.valueSize = source.valueSize;
    copy.ownsValue = source.ownsValue;
}

// Takes over what a document holds beside its elements.
void copy_message(bsonDocument& copy, const bsonDocument& source) {
    const bool copy_bytes = source.ownsMessage && source.message != nullptr && source.messageSize != 0;
    copy.elementList.reserve(source.elementList.size());
    copy.message = copy_bytes ? new_copy_of_bytes(source.message, source.messageSize) : source.message;
    copy.messageSize = source.messageSize;
    copy.ownsMessage = source.ownsMessage;
}

// Every element and document hangs in the copy as soon as it exists, so that an exception leaves nothing behind.
class copier {
  public:
    explicit copier(bsonDocument& copy) : here_(&copy) {}

    const bsonDocument* visit(const bsonElement& source) {
        append(here_->elementList, std::unique_ptr<bsonElement>(elements_.make()));
        bsonElement& copy = *here_->elementList.back();
        copy_without_document(copy, source);
        if (source.documentValue == nullptr) return nullptr;
        copy.ownsDocument = source.ownsDocument;
        copy.documentValue = source.ownsDocument ? documents_.make() : source.documentValue;
        if (!source.ownsDocument) return nullptr;
        copy_message(*copy.documentValue, *source.documentValue);
        above_.push_back(here_);
        here_ = copy.documentValue;
        return source.documentValue;
    }

    void leave(const bsonElement&) {
        here_ = above_.back();
        above_.pop_back();
    }

  private:
    bsonDocument* here_;
    std::vector<bsonDocument*> above_;
    batch<bsonElement> elements_;
    batch<bsonDocument> documents_;
};

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

bsonDocument* bsonDocument::getCopy() const {
    auto copy = std::make_unique<bsonDocument>();
    copy_message(*copy, *this);
    copier target(*copy);
    walk_tree(*this, target);
    return copy.release();
}

bsonElement* bsonElement::getCopy() const {
    auto copy = std::make_unique<bsonElement>();
    copy_without_document(*copy, *this);
    if (documentValue != nullptr) {
        copy->documentValue = ownsDocument ? documentValue->getCopy() : documentValue;
        copy->ownsDocument = ownsDocument;
    }
    return copy.release();
}

std::int32_t bsonDocument::convertMessageToElementList(bool validate) {
    clearElementList();
    if (validate && !isMessageValid(message, messageSize, false)) return 0;
    if (message == nullptr || messageSize <= empty_document_size) return 1;
    return decoder(*this, validate).decode();
}
