// The dump, as it arrives on standard output.
#include <gtest/gtest.h>

#include <memory>

#include <lutc/bsonDocument.h>
#include "tests/support/documents.h"

namespace {

template <class T>
std::string dump_of(const T& object, std::int32_t level) {
    testing::internal::CaptureStdout();
    object.debugPrint(level);
    return testing::internal::GetCapturedStdout();
}

std::string line(std::uint8_t type, const std::string& hex) {
    const std::string bytes = from_hex(hex);
    return dump_of(bsonElement(type, "k", bytes_of(bytes), size_of(bytes), true, 0), 0);
}

TEST(Dump, everyKindHasItsLine) {
    const struct {
        int type;
        const char* hex;
        const char* expected;
    } rows[] = {
        {0x01, "000000000000F83F", "k:(double)1.500000\n"},
        {0x01, "00", "k:(double)0.000000\n"},
        {0x02, "686900", "k:(string)hi\n"},
        {0x05, "", "k:(binary [length=0])\n"},
        {0x05, "01ABFF", "k:(binary [length=3])01,AB,FF\n"},
        {0x05, "0001020304050607", "k:(binary [length=8])00,01,02,03,04,05,06,07\n"},
        {0x05, "00010203040506070809", "k:(binary [length=10])00,01,02,03,04,05,06,07,...\n"},
        {0x06, "", "k:(undefined)\n"},
        {0x07, "000102030405060708090A0B", "k:(object id)\n"},
        {0x08, "02", "k:(boolean)true\n"},
        {0x08, "00", "k:(boolean)false\n"},
        {0x09, "FFFFFFFFFFFFFFFF", "k:(utc)-1\n"},
        {0x0A, "", "k:(null)\n"},
        {0x0B, "6100", "k:(regular expression)\n"},
        {0x0C, "00", "k:(db pointer)\n"},
        {0x0D, "666E00", "k:(javascript)fn\n"},
        {0x0E, "666E00", "k:(deprecated)\n"},
        {0x0F, "00", "k:(javascript with scope)\n"},
        {0x10, "00000080", "k:(int32)-2147483648\n"},
        {0x11, "0000000001000000", "k:(timestamp)4294967296\n"},
        {0x12, "0000000000000080", "k:(int64)-9223372036854775808\n"},
        {0x7F, "", "k:(max key)\n"},
        {0xFF, "", "k:(min key)\n"},
        {0x13, "", "k:(unknown)\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(line(static_cast<std::uint8_t>(row.type), row.hex), row.expected);
    EXPECT_EQ(dump_of(bsonElement("code", 0), 2), "\t\tcode:(int32)0\n");
}

TEST(Dump, nestingIsIndented) {
    EXPECT_EQ(dump_of(*document_from("{'type':'response','d':{'n':5}}"), 0),
              "type:(string)response\nd:(embedded document){\n\tn:(int32)5\n}\n");
    EXPECT_EQ(dump_of(*document_from("{'e':{},'a':[[],{'x':null}],'z':true}"), 1),
              "\te:(embedded document){\n\t}\n\ta:(array document)[\n\t\t0:(array document)[\n\t\t]\n"
              "\t\t1:(embedded document){\n\t\t\tx:(null)\n\t\t}\n\t]\n\tz:(boolean)true\n");
    EXPECT_EQ(dump_of(*document_from("{'d':{'n':5}}")->elementList[0], 1),
              "\td:(embedded document){\n\t\tn:(int32)5\n\t}\n");
    EXPECT_EQ(dump_of(bsonDocument(), 3), "");
    const auto document = document_from("{'d':5,'n':5}");
    document->elementList[0]->valueType = 0x03;  // there is no document to go into
    EXPECT_EQ(dump_of(*document, 0), "d:(embedded document){\nn:(int32)5\n");
}

TEST(Dump, textIsPrintedAsFarAsItsZeroByteAndNeverAsAFormat) {
    EXPECT_EQ(dump_of(bsonElement("%s%n", std::string("%d\0rest", 7)), 0), "%s%n:(string)%d\n");
    EXPECT_EQ(dump_of(bsonElement("k", std::string(100000, 'x')), 0), "k:(string)" + std::string(100000, 'x') + "\n");
}

}  // namespace
