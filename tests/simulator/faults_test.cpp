#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "tests/simulator/exchange.h"

namespace {

using simulator::delivery;
using simulator::fault_plan;

const std::string reply = encoded("{'type':'response','code':0,'message':'something to send in pieces'}");

delivery delivery_of(const std::string& kind) {
    fault_plan plan;
    plan.add("getOption=" + kind);
    return plan.send({reply.begin(), reply.end()}, plan.next("getOption"));
}

std::string sent(const delivery& what) {
    std::string bytes;
    for (const delivery::piece& piece : what.pieces) bytes.append(piece.bytes.begin(), piece.bytes.end());
    return bytes;
}

TEST(FaultPlan, PicksTheCallThatWasAskedFor) {
    fault_plan plan;
    plan.add("getPreset:2=refuse");
    plan.add("*:4=delay,70");
    EXPECT_FALSE(plan.next("getPreset"));
    EXPECT_FALSE(plan.next("no such command"));
    ASSERT_TRUE(plan.next("getPreset"));
    const auto fourth = plan.next("getOption");
    ASSERT_TRUE(fourth);
    EXPECT_EQ("delay", fourth->kind->name);
    EXPECT_EQ(70u, fourth->milliseconds);
    EXPECT_FALSE(plan.next("getPreset"));
}

TEST(FaultPlan, SaysWhatIsWrongWithIt) {
    for (const char* text : {"", "getPreset", "getPreset=", "getPreset=fire", "getpreset=refuse", "getPreset:0=refuse",
                             "getPreset:x=refuse", "getPreset=delay,-1", "getPreset=delay,1s", "=refuse"})
        EXPECT_THROW(fault_plan().add(text), std::invalid_argument) << text;
}

TEST(FaultPlan, RandomFaultsRepeatWithTheirSeed) {
    const auto kinds = [](std::uint64_t seed) {
        fault_plan plan(seed);
        plan.set_random_percent(30);
        std::string result;
        for (int i = 0; i < 1000; ++i) {
            const auto what = plan.next("getOption");
            result += what ? static_cast<char>('a' + (what->kind - simulator::fault_kinds.data())) : '.';
        }
        return result;
    };
    const std::string first = kinds(7);
    EXPECT_EQ(first, kinds(7));
    EXPECT_NE(first, kinds(8));
    const auto spared = std::count(first.begin(), first.end(), '.');
    EXPECT_GT(spared, 600);
    EXPECT_LT(spared, 800);
    for (std::size_t i = 0; i < simulator::fault_kinds.size(); ++i)
        EXPECT_NE(std::string::npos, first.find(static_cast<char>('a' + i))) << simulator::fault_kinds[i].name;
}

TEST(Delivery, IsWhatEachKindSays) {
    EXPECT_EQ(delivery::ending::hold, delivery_of("silence,5").end);
    EXPECT_EQ(5u, delivery_of("silence,5").hold_milliseconds);
    EXPECT_EQ("", sent(delivery_of("silence")) + sent(delivery_of("close")) + sent(delivery_of("reset")));
    EXPECT_EQ(delivery::ending::close, delivery_of("close").end);
    EXPECT_EQ(delivery::ending::reset, delivery_of("reset").end);
    EXPECT_EQ(reply.substr(0, reply.size() / 2), sent(delivery_of("truncate")));
    EXPECT_EQ(reply, sent(delivery_of("trickle")));
    EXPECT_EQ(reply.size(), delivery_of("trickle").pieces.size());
    EXPECT_EQ(1000u, delivery_of("delay").pieces.at(0).pause_milliseconds);
    EXPECT_EQ("<invalid>", decoded(sent(delivery_of("garbage"))));
    EXPECT_EQ("<invalid>", decoded(sent(delivery_of("length"))));
    EXPECT_EQ(reply.substr(4), sent(delivery_of("length")).substr(4));
    const std::string event = encoded("{'type':'event','msgID':1,'event':'simulated'}");
    EXPECT_EQ(event + reply, sent(delivery_of("event-first")));
    EXPECT_EQ(60u, delivery_of("event-first").pieces.at(1).pause_milliseconds);
    EXPECT_EQ(event + reply, sent(delivery_of("event-glued")));
    EXPECT_EQ(1u, delivery_of("event-glued").pieces.size());
}

}  // namespace
