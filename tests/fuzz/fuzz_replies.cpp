// A whole reply through each function that reads one. The first byte: the low bits choose the function; with the top bit
// set, what follows are the results of a reply whose frame and envelope are right.
#include <iterator>

#include "tests/fuzz/target.h"
#include "tests/support/check.h"
#include "tests/support/prepared_service.h"
#include "tests/support/readers.h"

namespace {

void (*const readers[])() = {[] { read_preset_list(); }, [] { read_preset(); }, [] { read_model(); },
                             [] { read_video(); },       [] { read_option(); }, [] { read_selected(); },
                             [] { read_state(); }};

// {"type": "response", "code": 0, results...}
std::vector<unsigned char> success_with(const std::uint8_t* results, std::size_t size) {
    static const char envelope[] =
        "\0\0\0\0\x02type\0\x09\0\0\0response\0\x10"
        "code\0\0\0\0";
    std::vector<unsigned char> reply(envelope, envelope + sizeof envelope);
    reply.insert(reply.end(), results, results + size);
    reply.push_back(0);
    for (std::size_t i = 0; i < 4; ++i) reply[i] = static_cast<unsigned char>(reply.size() >> (8 * i));
    return reply;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 60000) return 0;
    const std::uint8_t choice = data[0];
    prepared_reply.assign(data + 1, data + size);
    if ((choice & 0x80) != 0) prepared_reply = success_with(data + 1, size - 1);
    readers[(choice & 0x7F) % std::size(readers)]();
    CHECK(!is_connected());
    return 0;
}
