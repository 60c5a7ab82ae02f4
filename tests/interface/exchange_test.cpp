// The exchange: how a reply is received, what is skipped, and what ends a call.
#include <gtest/gtest.h>
#include <signal.h>

#include <cstring>
#include <ctime>

#include <lutc/lutc.h>
#include "tests/support/documents.h"
#include "tests/support/nesting.h"
#include "tests/support/readers.h"
#include "tests/support/scripted_service.h"
#include "tests/support/signal_storm.h"

namespace {

using line_kind = scripted_service::line_kind;

const std::string ok = encoded("{'type':'response','code':0}");
const std::string event = encoded("{'type':'event','code':7,'x':'yz'}");
constexpr int apart = 200;  // milliseconds that part two messages, on a busy machine too

// A message of exactly that size.
std::string padded(const std::string& fields, std::size_t size, const char* type = "response") {
    const auto document = document_from("{'code':0," + fields + "}");
    document->addStringElement("type", type);
    document->addBinaryElement("fill", nullptr, 0);
    const std::string fill(size - document->calculateMessageSizeFromKeyValueList(), 'f');
    document->getElementWithKey("fill", 0)->setBinaryValue(bytes_of(fill), size_of(fill), true, 0);
    return encoded(*document);
}

int save(std::vector<step> script, line_kind line = line_kind::socket, int left = ENOEXEC) {
    scripted_service service(std::move(script), line, left);
    return outcome_of(lutc_save_presets_to_media);
}

// Sends 5 MB, more than any socket takes unread.
int upload(std::vector<step> script, line_kind line = line_kind::socket) {
    std::vector<unsigned char> table(5000000);
    scripted_service service(std::move(script), line);
    return outcome_of([&] { return lutc_send_lut(0, 0, false, "", "", table.data(), 5000000); });
}

int receive() { return read_preset(nullptr, 0, false) ? 0 : -1; }

TEST(Exchange, aReplyFillsTheCapacityAndNoMore) {
    const struct {
        std::size_t capacity;
        int (*call)();
        const char* fields;
    } rows[] = {
        {1024, lutc_save_presets_to_media, "'a':1"},
        {524288, [] { return read_preset_list() ? 0 : -1; }, "'maxPresetsListSize':1,'presetsList':[]"},
        {2097152, receive, "'gradeCombo':[]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.capacity);
        const std::string fits = padded(row.fields, row.capacity), too_long = padded(row.fields, row.capacity + 1);
        const std::size_t piece = row.capacity / 16;
        EXPECT_EQ(punctually({send(fits)}, row.call), 0);
        EXPECT_EQ(punctually({send(too_long)}, row.call), EPROTO);
        EXPECT_EQ(punctually({send(fits + event)}, row.call), 0);  // what comes behind is not read
        EXPECT_EQ(punctually({send(padded(row.fields, row.capacity, "event") + fits)}, row.call), 0);
        EXPECT_EQ(punctually(dribble(fits, piece, 2), row.call), 0);
        EXPECT_EQ(punctually(dribble(too_long, piece, 2), row.call), EPROTO);
    }
}

TEST(Exchange, aReplyMayNestAsDeepAsItFits) {
    std::string reply = ok.substr(0, ok.size() - 1) + from_hex("03 6400") + nested(0x03, 260000) + '\0';
    const std::uint32_t size = size_of(reply);
    std::memcpy(&reply[0], &size, sizeof size);
    on_small_stack([&] { EXPECT_EQ(punctually({send(reply), hang_up()}, receive), 0); });
}

TEST(Exchange, aPauseEndsAMessage) {
    for (const std::size_t first : {std::size_t{1}, ok.size() / 2, ok.size() - 1}) {
        EXPECT_EQ(punctually(dribble(ok, first, 3), lutc_save_presets_to_media), 0);
        int result = 0;  // once more where the machine is so busy that the pause passes unseen
        for (int attempt = 0; attempt < 50 && result == 0; ++attempt) {
            result = save({send(ok.substr(0, first)), pause(20), send(ok.substr(first))});
        }
        EXPECT_EQ(result, EPROTO);
    }
}

TEST(Exchange, messagesOfAnotherTypeAreSkipped) {
    const auto afterwards = [](const std::string& message) {
        return save({send(message), pause(apart), send(ok), hang_up()});
    };
    EXPECT_EQ(afterwards(event), 0);
    EXPECT_EQ(save({send(event), pause(apart), send(event), pause(apart), send(ok)}), 0);
    EXPECT_EQ(afterwards(event + ok), EPROTO);  // one message of the wrong length
    EXPECT_EQ(save({send(event), pause(apart), send(encoded("{'type':'response','code':1}"))}), EREMOTEIO);
    EXPECT_EQ(save({send(event), hang_up()}), ECONNRESET);
    EXPECT_EQ(save({send(event), reset()}), ECONNRESET);
    EXPECT_EQ(save({send(ok + ok)}), EPROTO);
    EXPECT_EQ(afterwards(encoded("{'type':'Response','code':1}")), 0);
    // No message at all, or one without a type: nothing is waited for any more.
    for (const char* text : {"{}", "{'code':0}", "{'type':1,'code':0}", "{'type':{},'code':0}"}) {
        EXPECT_EQ(afterwards(encoded(text)), EPROTO) << text;
    }
    EXPECT_EQ(afterwards("no document"), EPROTO);
    EXPECT_EQ(afterwards(encoded("{'type':'response','code':0.0}")), EPROTO);
    EXPECT_EQ(afterwards(encoded("{'type':'response','code':false}")), EPROTO);
    EXPECT_EQ(afterwards(encoded("{'type':'response'}")), EPROTO);
    EXPECT_EQ(save({send(encoded("{'code':0,'type':'response'}"))}), 0);
}

TEST(Exchange, closeAndResetAtEachStage) {
    const std::string half = ok.substr(0, 9);
    for (const auto& end : {hang_up(), reset()}) {
        EXPECT_EQ(save({end}), ECONNRESET);
        EXPECT_EQ(save({send(half), end}), EPROTO);
        EXPECT_EQ(save({send(ok), end}), 0);
        EXPECT_EQ(upload({end}), ECONNRESET);
        EXPECT_EQ(upload({send(ok), end}), 0);  // with a reset ahead of the command's second half
    }
    EXPECT_EQ(upload({}, line_kind::closed_socket), ECONNRESET);
    EXPECT_EQ(upload({send(ok)}, line_kind::closed_socket), 0);
}

// Only the reasons that a failed connect has are taken from errno, and only when there is no connection.
TEST(Exchange, withoutAConnectionErrnoTellsWhy) {
    for (const line_kind line : {line_kind::refused, line_kind::unconnected}) {
        for (const int reason : {ECONNREFUSED, ETIMEDOUT, EMFILE, ENFILE, ENOMEM, ENOBUFS, EACCES, EPERM, EADDRNOTAVAIL,
                                 ENETUNREACH, ENETDOWN, EHOSTUNREACH}) {
            EXPECT_EQ(save({}, line, reason), reason);
        }
        for (const int other : {0, EINPROGRESS, EINTR, ENOENT}) EXPECT_EQ(save({}, line, other), ECONNREFUSED) << other;
    }
    EXPECT_EQ(save({hang_up()}, line_kind::socket, EMFILE), ECONNRESET);
    EXPECT_EQ(save({send(ok)}, line_kind::socket, EMFILE), 0);
}

// Three tables of 2 GiB, which are never read.
TEST(Exchange, aCommandThatIsTooLongToEncodeIsNotSent) {
    unsigned char byte = 0;
    char format[] = "f";
    const gradeComponent component{LUTC_KIND_LUT_3D, &byte, INT32_MAX, 1, format, nullptr, nullptr};
    const gradeComponent components[] = {component, component, component};
    EXPECT_EQ(outcome_of([&] { return lutc_send_live(1, 1, true, components, 3); }), EOVERFLOW);
}

// A reply sees the call through 200 ms in which a signal arrives each millisecond, in the wait and in the message.
TEST(Exchange, signalsNeitherEndNorLengthenAWait) {
    const signal_storm storm;
    std::vector<step> script = dribble(ok, 6, 3);
    script.insert(script.begin(), pause(200));
    EXPECT_EQ(punctually(script, lutc_save_presets_to_media), 0);
    EXPECT_GT(storm.count(), 50);
    EXPECT_EQ(save({send(ok.substr(0, 9)), pause(apart), send(ok.substr(9))}), EPROTO);
}

// SIGPIPE has its default disposition here, which would end the test.
TEST(Exchange, aClosedPeerRaisesNoSignal) {
    sigset_t sigpipe, mask, pending;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    for (const line_kind line : {line_kind::closed_socket, line_kind::closed_pipe}) {
        for (const bool already_pending : {false, true}) {
            if (already_pending) {
                pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
                pthread_kill(pthread_self(), SIGPIPE);
            }
            EXPECT_EQ(save({}, line), line == line_kind::closed_socket ? ECONNRESET : ECONNREFUSED);
            pthread_sigmask(SIG_SETMASK, nullptr, &mask);
            sigpending(&pending);
            EXPECT_EQ(sigismember(&mask, SIGPIPE), already_pending ? 1 : 0);
            EXPECT_EQ(sigismember(&pending, SIGPIPE), already_pending ? 1 : 0);
            if (!already_pending) continue;
            const timespec now{0, 0};
            EXPECT_EQ(sigtimedwait(&sigpipe, nullptr, &now), SIGPIPE);
            pthread_sigmask(SIG_UNBLOCK, &sigpipe, nullptr);
        }
    }
    struct sigaction action {};
    sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

}  // namespace
