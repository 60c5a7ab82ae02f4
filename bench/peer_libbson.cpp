#include <bson/bson.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "bench/peers.h"

namespace lutc_bench {

struct libbson_tree::node {
    std::string key;
    bson_type_t type = BSON_TYPE_EOD;
    bson_subtype_t subtype = BSON_SUBTYPE_BINARY;
    unsigned char* value = nullptr;
    std::uint32_t size = 0;
    std::vector<std::unique_ptr<node>> children;

    node() = default;
    ~node() { std::free(value); }
    node(const node&) = delete;
    node& operator=(const node&) = delete;

    void set_value(const void* start, std::size_t count) {
        value = static_cast<unsigned char*>(std::malloc(count));
        if (value == nullptr) throw std::bad_alloc();
        std::memcpy(value, start, count);
        size = static_cast<std::uint32_t>(count);
    }

    template <class T>
    void set_plain(T plain) {
        set_value(&plain, sizeof plain);
    }

    template <class T>
    T plain() const {
        T result;
        std::memcpy(&result, value, sizeof result);
        return result;
    }
};

namespace {

using node = libbson_tree::node;
using node_list = std::vector<std::unique_ptr<node>>;

bool fill_list(bson_iter_t* iterator, node_list& list);

bool fill_node(bson_iter_t* iterator, node& target) {
    target.key.assign(bson_iter_key(iterator), bson_iter_key_len(iterator));
    target.type = bson_iter_type(iterator);
    std::uint32_t size = 0;
    switch (target.type) {
        case BSON_TYPE_DOCUMENT:
        case BSON_TYPE_ARRAY: {
            bson_iter_t inner;
            return bson_iter_recurse(iterator, &inner) && fill_list(&inner, target.children);
        }
        case BSON_TYPE_UTF8: {
            const char* const text = bson_iter_utf8(iterator, &size);
            target.set_value(text, size + 1);
            return true;
        }
        case BSON_TYPE_BINARY: {
            const std::uint8_t* data = nullptr;
            bson_iter_binary(iterator, &target.subtype, &size, &data);
            target.set_value(data, size);
            return true;
        }
        case BSON_TYPE_INT32:
            target.set_plain(bson_iter_int32(iterator));
            return true;
        case BSON_TYPE_DOUBLE:
            target.set_plain(bson_iter_double(iterator));
            return true;
        default:
            return false;  // no sample holds any other
    }
}

bool fill_list(bson_iter_t* iterator, node_list& list) {
    while (bson_iter_next(iterator)) {
        list.push_back(std::make_unique<node>());
        if (!fill_node(iterator, *list.back())) return false;
    }
    return true;
}

bool walk_list(bson_iter_t* iterator) {
    while (bson_iter_next(iterator)) {
        const bson_type_t type = bson_iter_type(iterator);
        if (type != BSON_TYPE_DOCUMENT && type != BSON_TYPE_ARRAY) continue;
        bson_iter_t inner;
        if (!bson_iter_recurse(iterator, &inner) || !walk_list(&inner)) return false;
    }
    return iterator->err_off == 0;
}

void copy_list(node_list& copies, const node_list& list) {
    copies.reserve(list.size());
    for (const auto& source : list) {
        copies.push_back(std::make_unique<node>());
        node& copy = *copies.back();
        copy.key = source->key;
        copy.type = source->type;
        copy.subtype = source->subtype;
        if (source->size != 0) copy.set_value(source->value, source->size);
        copy_list(copy.children, source->children);
    }
}

bool append_list(bson_t* out, const node_list& list);

bool append_node(bson_t* out, const node& source) {
    const char* const key = source.key.c_str();
    const int length = static_cast<int>(source.key.size());
    bson_t inner;
    switch (source.type) {
        case BSON_TYPE_DOCUMENT:
            return bson_append_document_begin(out, key, length, &inner) && append_list(&inner, source.children) &&
                   bson_append_document_end(out, &inner);
        case BSON_TYPE_ARRAY:
            return bson_append_array_begin(out, key, length, &inner) && append_list(&inner, source.children) &&
                   bson_append_array_end(out, &inner);
        case BSON_TYPE_UTF8:
            return bson_append_utf8(out, key, length, reinterpret_cast<const char*>(source.value),
                                    static_cast<int>(source.size - 1));
        case BSON_TYPE_BINARY:
            return bson_append_binary(out, key, length, source.subtype, source.value, source.size);
        case BSON_TYPE_INT32:
            return bson_append_int32(out, key, length, source.plain<std::int32_t>());
        case BSON_TYPE_DOUBLE:
            return bson_append_double(out, key, length, source.plain<double>());
        default:
            return false;
    }
}

bool append_list(bson_t* out, const node_list& list) {
    for (const auto& source : list) {
        if (!append_node(out, *source)) return false;
    }
    return true;
}

}  // namespace

libbson_tree::libbson_tree() = default;
libbson_tree::~libbson_tree() = default;

bool libbson_tree::validate(const bytes& source) {
    bson_t document;
    return bson_init_static(&document, source.data(), source.size()) &&
           bson_validate(&document, BSON_VALIDATE_NONE, nullptr);
}

bool libbson_tree::walk(const bytes& source) {
    bson_t document;
    bson_iter_t iterator;
    return bson_init_static(&document, source.data(), source.size()) && bson_iter_init(&iterator, &document) &&
           walk_list(&iterator);
}

bool libbson_tree::fill(const bytes& source) {
    bson_t document;
    bson_iter_t iterator;
    return bson_init_static(&document, source.data(), source.size()) && bson_iter_init(&iterator, &document) &&
           fill_list(&iterator, children_);
}

std::size_t libbson_tree::encode() const {
    bson_t out;
    bson_init(&out);
    const std::size_t size = append_list(&out, children_) ? out.len : 0;
    bson_destroy(&out);
    return size;
}

bool libbson_tree::copy() const {
    node_list copies;
    copy_list(copies, children_);
    return copies.size() == children_.size();
}

std::size_t libbson_tree::build() {
    bson_t out;
    bson_init(&out);
    BSON_APPEND_UTF8(&out, "protocolVersion", "2.0");
    BSON_APPEND_UTF8(&out, "type", "command");
    BSON_APPEND_INT32(&out, "msgID", 1);
    BSON_APPEND_UTF8(&out, "command", "setSelectedPreset");
    BSON_APPEND_INT32(&out, "presetIndex", 7);
    BSON_APPEND_INT32(&out, "channelIndex", 2);
    const std::size_t size = out.len;
    bson_destroy(&out);
    return size;
}

}  // namespace lutc_bench
