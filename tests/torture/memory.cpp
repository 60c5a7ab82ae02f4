// No memory: every exported function and every method of the document classes that allocates. Counts the allocations of a
// clean run, then has the k-th fail for every k, that one alone and all from it on. Each failure must be reported, with the
// caller's outputs as they were, not one block or descriptor more than before, and the next run must succeed.
//
// malloc and its family are replaced here, for operator new and strdup alike. With LUTC_WRAP_MALLOC they are wrapped
// instead (by the linker, operator new here), so that a sanitizer's own malloc stays underneath.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

#include <lutc/bsonDocument.h>
#include <lutc/lutc.hpp>
#include "tests/support/check.h"
#include "tests/support/documents.h"
#include "tests/support/prepared_service.h"
#include "tests/support/readers.h"

#ifdef LUTC_WRAP_MALLOC
#define HERE(name) __wrap_##name
#define BENEATH(name) __real_##name
#else
#define HERE(name) name
#define BENEATH(name) __libc_##name
#endif

extern "C" {
void* BENEATH(malloc)(std::size_t);
void* BENEATH(calloc)(std::size_t, std::size_t);
void* BENEATH(realloc)(void*, std::size_t);
void BENEATH(free)(void*);
}

namespace {

// Plain numbers: they are used before anything is constructed. This program has one thread.
bool counting = false;
long allocations = 0;           // in this run
long first_to_fail = LONG_MAX;  // from 1
bool fail_all_after = false;
long failures = 0;
long blocks = 0;  // live ones, of the whole program

bool may_allocate() {
    if (!counting) return true;
    ++allocations;
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

void* HERE(malloc)(std::size_t size) { return may_allocate() ? counted(BENEATH(malloc)(size)) : nullptr; }
void* HERE(calloc)(std::size_t count, std::size_t size) {
    return may_allocate() ? counted(BENEATH(calloc)(count, size)) : nullptr;
}
void* HERE(realloc)(void* block, std::size_t size) {
    if (!may_allocate()) return nullptr;
    void* const moved = BENEATH(realloc)(block, size);
    return block == nullptr ? counted(moved) : moved;
}
void HERE(free)(void* block) {
    if (block != nullptr) --blocks;
    BENEATH(free)(block);
}

}  // extern "C"

#ifdef LUTC_WRAP_MALLOC
void* operator new(std::size_t size) {
    if (void* const block = HERE(malloc)(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { HERE(free)(block); }
void operator delete(void* block, std::size_t) noexcept { HERE(free)(block); }
#endif

namespace {

int lowest_free_descriptor() {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    CHECK(descriptor >= 0 && close(descriptor) == 0);
    return descriptor;
}

// One use of the library. run: true when it succeeded; false, or std::bad_alloc, when it failed for lack of memory, after
// it has checked that nothing was written. It frees what it was given, and allocates nothing on its own account.
template <class Result>
struct use {
    const char* name;
    Result (*run)();
};

bool succeeds(bool (*run)()) {
    errno = EXDEV;
    const bool done = run();
    CHECK(errno == (done ? EXDEV : ENOMEM));
    return done;
}
bool succeeds(void (*run)()) {
    try {
        run();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

template <class Result>
bool run_with(const use<Result>& one, long first, bool all_after) {
    allocations = failures = 0;
    first_to_fail = first;
    fail_all_after = all_after;
    const long before = blocks;
    const int descriptor = lowest_free_descriptor();
    counting = true;
    const bool done = succeeds(one.run);
    counting = false;
    if (blocks != before) std::fprintf(stderr, "%s: %ld blocks more than before\n", one.name, blocks - before);
    CHECK(blocks == before && lowest_free_descriptor() == descriptor && !is_connected());
    return done;
}

template <class Result>
void torture(const use<Result>& one) {
    CHECK(run_with(one, LONG_MAX, false));
    const long needed = allocations;
    CHECK(needed > 0);
    for (long k = 1; k <= needed; ++k) {
        for (const bool all_after : {false, true}) {
            const bool done = run_with(one, k, all_after);
            if (done || failures == 0) std::fprintf(stderr, "%s: allocation %ld\n", one.name, k);
            CHECK(!done && failures > 0);
        }
        CHECK(run_with(one, LONG_MAX, false) && allocations == needed);
    }
    std::printf("%6ld %s\n", needed, one.name);
}

// ---- The exported functions ----

unsigned char table[300] = {1, 2, 3};
char format[] = "float";
cdl values{{0, 0, 0}, {1, 1, 1}, {1, 1, 1}, 0.9};
const testPattern pattern{"square", 1, 0.5, {1, 2, 3}, {4, 5, 6}};
const gradeComponent components[] = {{LUTC_KIND_CDL, nullptr, 0, 1, nullptr, &values, nullptr},
                                     {LUTC_KIND_LUT_3D, table, sizeof table, 1, format, nullptr, nullptr},
                                     {LUTC_KIND_SATURATION, table, 8, 1, nullptr, nullptr, nullptr},
                                     {LUTC_KIND_TEST_PATTERN, nullptr, 0, 1, nullptr, nullptr, &pattern}};
const videoConnection route{LUTC_VIDEO_INPUT, 1, LUTC_VIDEO_OUTPUT, 1};

const use<bool> calls[] = {
    {"lutc_load_presets_from_media", [] { return lutc_load_presets_from_media() == 0; }},
    {"lutc_save_presets_to_media", [] { return lutc_save_presets_to_media() == 0; }},
    {"lutc_delete_all_presets", [] { return lutc_delete_all_presets() == 0; }},
    {"lutc_preset_list", read_preset_list},
    {"lutc_delete_preset", [] { return lutc_delete_preset("a", 0) == 0; }},
    {"lutc_rename_preset", [] { return lutc_rename_preset("a", 0, "the new name of the preset") == 0; }},
    {"lutc_move_preset", [] { return lutc_move_preset("a", 0, 1) == 0; }},
    {"lutc_get_preset", read_selected},
    {"lutc_set_preset", [] { return lutc_set_preset(1, "a", 0) == 0; }},
    {"lutc_get_override_preset", read_override},
    {"lutc_set_override_preset", [] { return lutc_set_override_preset(nullptr, 0) == 0; }},
    {"lutc_send_combination", [] { return lutc_send_combination(1, true, 1) == 0; }},
    {"lutc_send_lut", [] { return lutc_send_lut(1, 1, true, "3dlut", "float", table, sizeof table) == 0; }},
    {"lutc_send_cdl", [] { return lutc_send_cdl(1, 1, true, &values) == 0; }},
    {"lutc_send_saturation", [] { return lutc_send_saturation(1, 1, true, 0.5) == 0; }},
    {"lutc_send_live", [] { return lutc_send_live(1, 1, true, components, 4) == 0; }},
    {"lutc_send_preset", [] { return lutc_send_preset("a", 0, 1, 1, true, 1, components, 3) == 0; }},
    {"lutc_recv_preset", read_preset},
    {"lutc_client_info", [] { return lutc_client_info("model", "version", "serial") == 0; }},
    {"lutc_model_info", read_model},
    {"lutc_get_state", read_state},
    {"lutc_set_state", [] { return lutc_set_state(1, 1) == 0; }},
    {"lutc_get_video_connections", read_video},
    {"lutc_set_video_connection", [] { return lutc_set_video_connection(&route) == 0; }},
    {"lutc_get_option", read_option},
    {"lutc_set_option", [] { return lutc_set_option("name", "value") == 0; }},
};

// The C++ face: what the C function handed out is freed when there is no memory to copy it.
void require(const std::error_code& failure) {
    if (failure.value() == ENOMEM) throw std::bad_alloc();
    CHECK(!failure);
}

const use<void> of_lists[] = {
    {"lutc::preset_list",
     [] {
         std::error_code failure;
         lutc::preset_list(failure);
         require(failure);
     }},
    {"lutc::recv_preset",
     [] {
         std::error_code failure;
         lutc::recv_preset(1, failure);
         require(failure);
     }},
};
const use<void> of_small[] = {
    {"lutc::model_info",
     [] {
         std::error_code failure;
         lutc::model_info(failure);
         require(failure);
     }},
    {"lutc::send_live",
     [] {
         std::error_code failure;
         lutc::send_live(1, {lutc::cdl_values{}, lutc::lut_1d{"float", {1, 2}, 1}, lutc::test_pattern{"bars"}}, {},
                         failure);
         require(failure);
     }},
};

// Replies with lists and texts on the heap: what a large buffer takes, and what fits 1024 bytes.
const std::string combo = "['a rather long name of a kind','cdl']", long_name = "'a text of some length, on the heap'";
const std::string data = "'typeIndex':1,'dataFormat':'float','data':'hex:" + std::string(600, '0') + "'}";
const std::string preset = "'gradeComboIndex':1,'gradeCombo':" + combo + "}";
const std::string lists = "'maxPresetsListSize':9,'presetsList':[{'presetName':'first'," + preset +
                          ",{'presetName':'second'," + preset +
                          "],'gradeComboIndex':1,'gradeCombo':[{'type':'cdl','saturation':0.9," + data +
                          ",{'type':'3dlut'," + data + ",{'type':'saturation'," + data + "]";
const std::string channel = "{'channelName':'A','supportedGradeComboIndices':[1]}";
const std::string small =
    "'presetName':" + long_name + ",'presetIndex':1,'modelName':" + long_name + ",'friendlyName':" + long_name +
    ",'modelSerial':" + long_name + ",'value':" + long_name + ",'colorTransformState':1,'gradeCombos':[" + combo + "," +
    combo + "],'gradeChannels':[" + channel + "," + channel +
    "],'videoConnections':[{'sourceIndex':1,'destinationIndex':1,'sourceType':'input','destinationType':'input'}]";

void prepare(const std::string& results) {
    const std::string reply = encoded("{'type':'response','code':0," + results + "}");
    prepared_reply.assign(reply.begin(), reply.end());
}

// ---- The document classes ----

const std::string long_text(100, 'x');
const std::unique_ptr<bsonDocument> held =
    document_from("{'text':'" + long_text + "'," + lists + ",'inner':{'combo':" + combo + "}}");
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

const use<void> methods[] = {
    {"bsonElement(key)", [] { bsonElement element(long_text); }},
    {"bsonElement(key, boolean)", [] { bsonElement element("k", true); }},
    {"bsonElement(key, string)", [] { bsonElement element("k", long_text); }},
    {"bsonElement(key, bytes)", [] { bsonElement e("k", table, 9, true, std::uint8_t{1}); }},
    {"bsonElement(type, ...)", [] { bsonElement e(0x03, "k", sample.message, sample.messageSize, true, 0); }},
    {"new bsonElement", [] { delete new bsonElement; }},
    {"setBoolValue", [] { sets([](bsonElement& e) { e.setBoolValue(true); }); }},
    {"setInt32Value", [] { sets([](bsonElement& e) { e.setInt32Value(1); }); }},
    {"setInt64Value", [] { sets([](bsonElement& e) { e.setInt64Value(1); }); }},
    {"setDoubleValue", [] { sets([](bsonElement& e) { e.setDoubleValue(1.0); }); }},
    {"setStringValue", [] { sets([](bsonElement& e) { e.setStringValue(long_text); }); }},
    {"setBinaryValue", [] { sets([](bsonElement& e) { e.setBinaryValue(table, 9, true, 1); }); }},
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
    {"addBinaryElement", [] { on_copy([](bsonDocument& d) { d.addBinaryElement("k", table, 9); }); }},
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
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    for (const auto& one : calls) {
        prepare(one.run == read_preset_list || one.run == read_preset ? lists : small);
        torture(one);
    }
    prepare(lists);
    for (const auto& one : of_lists) torture(one);
    prepare(small);
    for (const auto& one : of_small) torture(one);
    sample.elementList.push_back(
        new bsonElement("referred", sample.getElementWithKey("inner", 0)->documentValue, false, false));
    sample.convertElementListToMessage();
    std::fflush(stdout);
    const int screen = dup(STDOUT_FILENO), nowhere = open("/dev/null", O_WRONLY);
    for (const auto& one : methods) {
        std::fflush(stdout);
        const bool prints = std::string(one.name).find("debugPrint") != std::string::npos;
        dup2(prints ? nowhere : screen, STDOUT_FILENO);
        torture(one);
    }
    std::fflush(stdout);
    dup2(screen, STDOUT_FILENO);
    std::printf("%zu functions and methods\n", std::size(calls) + std::size(methods));
    return 0;
}
