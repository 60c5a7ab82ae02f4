// No memory: every exported function and every method of the document classes that allocates. Counts the allocations of a
// clean run, then has the k-th fail for every k, that one alone and all from it on. Each failure must be reported, with the
// caller's outputs as they were, not one block or descriptor more than before, and the next run must succeed.
//
// The linker wraps malloc and its family in the library, and operator new stands here, so that a sanitizer's own malloc
// stays underneath.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

#include <lutc/bsonDocument.h>
#include <lutc/lutc.hpp>
#include "tests/support/calls.h"
#include "tests/support/check.h"
#include "tests/support/documents.h"
#include "tests/support/prepared_service.h"

extern "C" {
void* __real_malloc(std::size_t);
void* __real_calloc(std::size_t, std::size_t);
void __real_free(void*);
}

namespace {

// Plain numbers: they are used before anything is constructed. This program has one thread.
bool counting = false;
long allocations = 0;           // in this run
long first_to_fail = LONG_MAX;  // from 1
bool fail_all_after = false;
long failures = 0;
long blocks = 0;          // live ones, of the whole program
std::size_t largest = 0;  // block of this run

bool may_allocate(std::size_t size) {
    if (!counting) return true;
    ++allocations;
    largest = std::max(largest, size);
    if (allocations != first_to_fail && !(fail_all_after && allocations > first_to_fail)) return true;
    ++failures;
    errno = 0;  // a call says ENOMEM itself
    return false;
}

void* counted(void* block) {
    if (block != nullptr) ++blocks;
    return block;
}

}  // namespace

extern "C" {

void* __wrap_malloc(std::size_t size) { return may_allocate(size) ? counted(__real_malloc(size)) : nullptr; }
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return may_allocate(count * size) ? counted(__real_calloc(count, size)) : nullptr;
}
void __wrap_free(void* block) {
    if (block != nullptr) --blocks;
    __real_free(block);
}

}  // extern "C"

void* operator new(std::size_t size) {
    if (void* const block = __wrap_malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete(void* block, std::size_t) noexcept { __wrap_free(block); }

namespace {

int lowest_free_descriptor() {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    CHECK(descriptor >= 0 && close(descriptor) == 0);
    return descriptor;
}

// One use of the library. run() is true when it succeeded, and false when it failed for lack of memory, after it has
// checked that nothing was written. It frees what it was given, and allocates nothing on its own account.
template <class Run>
bool run_with(const char* name, Run run, long first, bool all_after) {
    allocations = failures = 0;
    largest = 0;
    first_to_fail = first;
    fail_all_after = all_after;
    const long before = blocks;
    const int descriptor = lowest_free_descriptor();
    counting = true;
    const bool done = run();
    counting = false;
    if (blocks != before) std::fprintf(stderr, "%s: %ld blocks more than before\n", name, blocks - before);
    CHECK(blocks == before && lowest_free_descriptor() == descriptor && !is_connected());
    return done;
}

template <class Run>
void torture(const char* name, Run run) {
    CHECK(run_with(name, run, LONG_MAX, false));
    const long needed = allocations;
    CHECK(needed > 0);
    for (long k = 1; k <= needed; ++k) {
        for (const bool all_after : {false, true}) {
            const bool done = run_with(name, run, k, all_after);
            if (done || failures == 0) std::fprintf(stderr, "%s: allocation %ld\n", name, k);
            CHECK(!done && failures > 0);
        }
        CHECK(run_with(name, run, LONG_MAX, false) && allocations == needed);
    }
    std::fprintf(stderr, "%6ld %s\n", needed, name);
}

// A function of the C++ face: what the C function handed out is freed when there is no memory to copy it.
template <class Call>
void through_face(Call call) {
    std::error_code failure;
    call(failure);
    if (failure.value() == ENOMEM) throw std::bad_alloc();
    CHECK(!failure);
}

// ---- The document classes ----

const std::string long_text(100, 'x');
const std::unique_ptr<bsonDocument> held =
    document_from("{'text':'" + long_text + "','inner':{'list':['" + long_text + "']}," + (any_reply + 1));
bsonDocument& sample = *held;  // nested, with its message

// A setter: after a failure the element has its old value.
template <class Set>
void sets(Set set) {
    const unsigned char old[] = {7, 7, 7, 7};
    bsonElement element;  // borrows, so that it allocates nothing
    element.setBinaryValue(old, 4, false, 9);
    try {
        set(element);
    } catch (const std::bad_alloc&) {
        CHECK(element.valueType == 0x05 && element.value == old);
        CHECK(element.valueSize == 4 && element.binarySubtype == 9);
        throw;
    }
}

template <class T>
T* not_null(T* object) {
    if (object == nullptr) throw std::bad_alloc();
    return object;
}

// A method of a copy of the sample. The copy is made beforehand, with memory.
template <class Method>
void on_copy(Method method) {
    counting = false;
    const std::unique_ptr<bsonDocument> copy(sample.getCopy());
    const std::size_t elements = copy->elementList.size();
    counting = true;
    try {
        method(*copy);
        counting = false;
    } catch (const std::bad_alloc&) {
        counting = false;
        CHECK(copy->messageSize == sample.messageSize && copy->elementList.size() <= elements);
        copy->convertElementListToMessage();  // it still works
        throw;
    }
}

const lutc::grade live = {lutc::cdl_values{}, lutc::lut_1d{"float", {1, 2}, 1}, lutc::test_pattern{"bars"}};

const struct {
    const char* name;
    void (*run)();
} methods[] = {
    {"lutc::preset_list", [] { through_face([](std::error_code& e) { lutc::preset_list(e); }); }},
    {"lutc::recv_preset", [] { through_face([](std::error_code& e) { lutc::recv_preset(1, e); }); }},
    {"lutc::model_info", [] { through_face([](std::error_code& e) { lutc::model_info(e); }); }},
    {"lutc::send_live", [] { through_face([](std::error_code& e) { lutc::send_live(1, live, {}, e); }); }},
    {"bsonElement(key)", [] { bsonElement element(long_text); }},
    {"bsonElement(key, boolean)", [] { bsonElement element("k", true); }},
    {"bsonElement(key, string)", [] { bsonElement element("k", long_text); }},
    {"bsonElement(key, bytes)", [] { bsonElement e("k", some_table, 4, true, std::uint8_t{1}); }},
    {"bsonElement(type, ...)", [] { bsonElement e(0x03, "k", sample.message, sample.messageSize, true, 0); }},
    {"new bsonElement", [] { delete new bsonElement; }},
    {"setBoolValue", [] { sets([](bsonElement& e) { e.setBoolValue(true); }); }},
    {"setInt32Value", [] { sets([](bsonElement& e) { e.setInt32Value(1); }); }},
    {"setInt64Value", [] { sets([](bsonElement& e) { e.setInt64Value(1); }); }},
    {"setDoubleValue", [] { sets([](bsonElement& e) { e.setDoubleValue(1.0); }); }},
    {"setStringValue", [] { sets([](bsonElement& e) { e.setStringValue(long_text); }); }},
    {"setBinaryValue", [] { sets([](bsonElement& e) { e.setBinaryValue(some_table, 4, true, 1); }); }},
    {"getStringValue", [] { sample.elementList[0]->getStringValue(); }},
    {"bsonElement::getCopy", [] { delete sample.getElementWithValueType(0x03, 0)->getCopy(); }},
    {"new bsonDocument", [] { delete new bsonDocument; }},
    {"new (nothrow) bsonElement", [] { delete not_null(new (std::nothrow) bsonElement("k", long_text)); }},
    {"new (nothrow) bsonDocument", [] { delete not_null(new (std::nothrow) bsonDocument); }},
    {"bsonDocument(bytes, ...)", [] { bsonDocument document(sample.message, sample.messageSize, true, true); }},
    {"bsonDocument::getCopy", [] { delete sample.getCopy(); }},
    {"isMessageValid", [] { bsonDocument::isMessageValid(sample.message, sample.messageSize, false); }},
    {"calculateMessageSizeFromKeyValueList", [] { sample.calculateMessageSizeFromKeyValueList(); }},
    {"convertElementListToMessage", [] { on_copy([](bsonDocument& d) { d.convertElementListToMessage(); }); }},
    {"convertMessageToElementList",
     [] { on_copy([](bsonDocument& d) { CHECK(d.convertMessageToElementList(true) == 1); }); }},
    {"getElementListWithKey", [] { sample.getElementListWithKey("text"); }},
    {"getElementListWithValueType", [] { sample.getElementListWithValueType(0x02); }},
    {"getStringWithKey",
     [] {
         struct kept_text {
             std::string text = "before";
             ~kept_text() { CHECK(text == long_text || text == "before"); }
         } kept;
         sample.getStringWithKey("text", kept.text);
     }},
    {"addBooleanElement", [] { on_copy([](bsonDocument& d) { d.addBooleanElement("k", true); }); }},
    {"addInt32Element", [] { on_copy([](bsonDocument& d) { d.addInt32Element(long_text, 1); }); }},
    {"addDoubleElement", [] { on_copy([](bsonDocument& d) { d.addDoubleElement("k", 1.0); }); }},
    {"addStringElement", [] { on_copy([](bsonDocument& d) { d.addStringElement(1, long_text); }); }},
    {"addBinaryElement", [] { on_copy([](bsonDocument& d) { d.addBinaryElement("k", some_table, 4); }); }},
    {"addDocumentElement",
     [] {
         on_copy([](bsonDocument& d) {
             auto inner = std::make_unique<bsonDocument>();  // the caller's when it fails
             d.addDocumentElement(long_text, inner.get(), false);
             inner.release();
         });
     }},
    {"bsonElement::debugPrint", [] { sample.getElementWithKey("inner", 0)->debugPrint(0); }},
    {"bsonDocument::debugPrint", [] { sample.debugPrint(0); }},
};

}  // namespace

int main() {
    static char buffer[4096];
    CHECK(std::freopen("/dev/null", "w", stdout) != nullptr);  // for what is dumped
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    const std::string reply = encoded(any_reply);
    prepared_reply.assign(reply.begin(), reply.end());
    for (const exported_call& call : exported_calls) {
        torture(call.command, [&call] {
            errno = EXDEV;
            const bool done = call.run() == 0;
            CHECK(errno == (done ? EXDEV : ENOMEM));
            return done;
        });
    }
    // A table is sent from where it lies: no block is made that would hold it.
    static unsigned char table[1 << 16];
    const auto send = [] { return lutc_send_lut(0, 0, false, "3dlut", "f", table, sizeof table) == 0; };
    CHECK(run_with("a large table", send, LONG_MAX, false) && largest < sizeof table / 4);
    sample.elementList.push_back(
        new bsonElement("referred", sample.getElementWithKey("inner", 0)->documentValue, false, false));
    sample.convertElementListToMessage();
    for (const auto& one : methods) {
        torture(one.name, [&one] {
            try {
                one.run();
                return true;
            } catch (const std::bad_alloc&) {
                return false;
            }
        });
    }
    std::fprintf(stderr, "%zu calls and methods\n", exported_calls.size() + std::size(methods));
    return 0;
}
