#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using simulator::fault_plan;

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

}  // namespace
