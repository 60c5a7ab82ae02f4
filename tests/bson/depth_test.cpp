// Nesting as deep as a message of 2 MiB can hold, on a small stack. Anything that takes time quadratic in the depth
// runs into the test's time limit.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <functional>
#include <memory>

#include "bson/bsonDocument.h"
#include "tests/support/documents.h"

namespace {

void onSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

std::string nested(std::uint8_t type, std::uint32_t depth) {
    std::string bytes;
    for (std::uint32_t level = depth; level > 0; --level) {
        const std::uint32_t length = 5 + 8 * level;
        bytes.append(reinterpret_cast<const char*>(&length), 4);
        bytes += static_cast<char>(type);
        bytes.append("0", 2);
    }
    return bytes + fromHex("0500000000") + std::string(depth, '\0');
}

std::uint32_t depthOf(const bsonDocument* document) {
    std::uint32_t depth = 0;
    for (; !document->elementList.empty(); ++depth) document = document->elementList[0]->documentValue;
    return depth;
}

class Depth : public testing::TestWithParam<int> {};

TEST_P(Depth, twoMebibytesOfNesting) {
    constexpr std::uint32_t depth = 260000;
    const std::string bytes = nested(static_cast<std::uint8_t>(GetParam()), depth);
    ASSERT_LE(bytes.size(), 2097152u);
    onSmallStack([&] {
        EXPECT_TRUE(bsonDocument::isMessageValid(bytesOf(bytes), sizeOf(bytes), false));
        std::string broken = bytes;
        broken[8 * depth + 4 - 1] = 1;  // the terminator's place, or a length, of the innermost document
        EXPECT_FALSE(bsonDocument::isMessageValid(bytesOf(broken), sizeOf(broken), false));

        auto document = std::make_unique<bsonDocument>(bytesOf(bytes), sizeOf(bytes), false, true);
        EXPECT_EQ(depthOf(document.get()), depth);
        EXPECT_EQ(document->calculateMessageSizeFromKeyValueList(), bytes.size());
        const std::unique_ptr<bsonDocument> copy(document->getCopy());
        const bsonElement element(static_cast<std::uint8_t>(GetParam()), "k", bytesOf(bytes), sizeOf(bytes), true, 0);
        const std::unique_ptr<bsonElement> copyOfElement(element.getCopy());
        document.reset();
        EXPECT_EQ(depthOf(copy.get()), depth);
        EXPECT_EQ(depthOf(copyOfElement->documentValue), depth);
    });
}
INSTANTIATE_TEST_SUITE_P(DocumentsAndArrays, Depth, testing::Values(0x03, 0x04));

TEST(Depth, encodingAndDumpingDontRecurse) {
    constexpr std::uint32_t depth = 3000;
    const std::string bytes = nested(0x03, depth);
    std::string dump;
    onSmallStack([&] {
        bsonDocument document(bytesOf(bytes), sizeOf(bytes), false, true);
        EXPECT_EQ(encoded(document), bytes);
        testing::internal::CaptureStdout();
        document.debugPrint(0);
        dump = testing::internal::GetCapturedStdout();
    });
    EXPECT_EQ(dump.size(), depth * (depth - 1) + depth * strlen("0:(embedded document){\n"
                                                                "}\n"));
    EXPECT_EQ(dump.substr(dump.size() - 7), "\t\t}\n\t}\n}\n" + 2);
}

}  // namespace
