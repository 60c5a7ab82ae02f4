#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/simulator/exchange.h"

namespace {

using simulator::delivery;
using simulator::fault_plan;

const std::string reply = encoded("{'type':'response','message':'" + std::string(300, 'm') + "'}");

delivery delivery_of(const std::string& kind) {
    fault_plan plan;
    plan.add("getOption=" + kind);
    return plan.send({reply.begin(), reply.end()}, plan.next("getOption"));
}

std::string sent(const delivery& planned) {
    std::string bytes;
    for (const delivery::piece& piece : planned.pieces) bytes.append(piece.bytes.begin(), piece.bytes.end());
    return bytes;
}

TEST(FaultPlan, PicksTheCallThatWasAskedFor) {
    fault_plan plan;
    plan.add("getPreset:2=refuse");
    plan.add("*:4-5=before-delay,70");
    EXPECT_FALSE(plan.next("getPreset"));
    EXPECT_FALSE(plan.next("no such command"));
    ASSERT_TRUE(plan.next("getPreset"));
    const auto fourth = plan.next("getOption");
    ASSERT_TRUE(fourth);
    EXPECT_EQ("delay", fourth->kind->name);
    EXPECT_EQ(70u, fourth->milliseconds);
    EXPECT_FALSE(fourth->is_performed);
    ASSERT_TRUE(plan.next("getPreset"));
    EXPECT_TRUE(plan.list().empty());
    EXPECT_FALSE(plan.next("getPreset"));
}

TEST(FaultPlan, RefusesWhatItDoesNotUnderstand) {
    for (const char* text : {"getPreset", "getpreset=refuse", "getPreset:0=refuse", "getPreset:3-2=refuse",
                             "getPreset=before-", "getPreset=delay,1s"})
        EXPECT_THROW(fault_plan().add(text), std::invalid_argument) << text;
}

TEST(Delivery, IsWhatEachKindSays) {
    EXPECT_EQ(delivery::ending::hold, delivery_of("silence,5").end);
    EXPECT_EQ(5u, delivery_of("silence,5").hold_milliseconds);
    EXPECT_EQ("", sent(delivery_of("silence")) + sent(delivery_of("close")) + sent(delivery_of("reset")));
    EXPECT_EQ(delivery::ending::close, delivery_of("close").end);
    EXPECT_EQ(delivery::ending::reset, delivery_of("reset").end);
    EXPECT_EQ(reply.substr(0, reply.size() / 2), sent(delivery_of("truncate")));
    EXPECT_EQ(reply, sent(delivery_of("trickle")));
    EXPECT_EQ((reply.size() + 3) / 4, delivery_of("trickle").pieces.size());
    EXPECT_EQ(1000u, delivery_of("delay").pieces.at(0).pause_milliseconds);
    EXPECT_EQ("<invalid>", decoded(sent(delivery_of("garbage"))));
    EXPECT_EQ(to_hex(std::string{static_cast<char>(reply[0] + 1)} + reply.substr(1)),
              to_hex(sent(delivery_of("length"))));
    const std::string event = encoded("{'type':'event','msgID':1,'event':'simulated'}");
    EXPECT_EQ(event + reply, sent(delivery_of("event-first")));
    EXPECT_EQ(60u, delivery_of("event-first").pieces.at(1).pause_milliseconds);
    EXPECT_EQ(event + reply, sent(delivery_of("event-glued")));
    EXPECT_EQ(1u, delivery_of("event-glued").pieces.size());
}

}  // namespace
