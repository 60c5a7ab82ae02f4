// Nesting as deep as a message of 2 MiB can hold, on a small stack. Anything that takes time quadratic in the depth
// runs into the test's time limit.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include <lutc/bsonDocument.h>
#include "tests/support/documents.h"
#include "tests/support/nesting.h"

namespace {

std::uint32_t depth_of(const bsonDocument* document) {
    std::uint32_t depth = 0;
    for (; !document->elementList.empty(); ++depth) document = document->elementList[0]->documentValue;
    return depth;
}

class Depth : public testing::TestWithParam<int> {};

TEST_P(Depth, twoMebibytesOfNesting) {
    constexpr std::uint32_t depth = 260000;
    const std::string bytes = nested(static_cast<std::uint8_t>(GetParam()), depth);
    ASSERT_LE(bytes.size(), 2097152u);
    on_small_stack([&] {
        EXPECT_TRUE(bsonDocument::isMessageValid(bytes_of(bytes), size_of(bytes), false));
        std::string broken = bytes;
        broken[8 * depth + 4 - 1] = 1;  // the terminator's place, or a length, of the innermost document
        EXPECT_FALSE(bsonDocument::isMessageValid(bytes_of(broken), size_of(broken), false));

        auto document = std::make_unique<bsonDocument>(bytes_of(bytes), size_of(bytes), false, true);
        EXPECT_EQ(depth_of(document.get()), depth);
        EXPECT_EQ(document->calculateMessageSizeFromKeyValueList(), bytes.size());
        const std::unique_ptr<bsonDocument> copy(document->getCopy());
        const bsonElement element(static_cast<std::uint8_t>(GetParam()), "k", bytes_of(bytes), size_of(bytes), true, 0);
        const std::unique_ptr<bsonElement> copy_of_element(element.getCopy());
        document.reset();
        EXPECT_EQ(depth_of(copy.get()), depth);
        EXPECT_EQ(depth_of(copy_of_element->documentValue), depth);
    });
}
INSTANTIATE_TEST_SUITE_P(DocumentsAndArrays, Depth, testing::Values(0x03, 0x04));

TEST(Depth, encodingAndDumpingDontRecurse) {
    constexpr std::uint32_t depth = 3000;
    const std::string bytes = nested(0x03, depth);
    std::string dump;
    on_small_stack([&] {
        bsonDocument document(bytes_of(bytes), size_of(bytes), false, true);
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
