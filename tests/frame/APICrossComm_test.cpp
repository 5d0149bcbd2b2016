#include "kelvara/frame/APICrossComm.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelvara {
namespace {

using Handles = std::vector<int32_t>;

Handles Of(const APICrossComm& c) {
    return Handles(c.Handles().begin(), c.Handles().end());
}

TEST(APICrossComm, KeepsHandlesSortedAndGrowsFivePastTheNeed) {
    // Each step: +h adds, -h removes; then the list and the slots held.
    struct Step {
        int32_t handle;  // negative: RemoveRef of -handle
        Handles want;
        int32_t capacity;
    } steps[] = {
        {+300, {300}, 6},
        {+100, {100, 300}, 6},
        {+200, {100, 200, 300}, 6},
        {+100, {100, 200, 300}, 6},  // already there
        {-250, {100, 200, 300}, 6},  // not there
        {+400, {100, 200, 300, 400}, 6},
        {+50, {50, 100, 200, 300, 400}, 6},
        {+500, {50, 100, 200, 300, 400, 500}, 6},
        {+450, {50, 100, 200, 300, 400, 450, 500}, 12},  // the seventh needs room
        {-50, {100, 200, 300, 400, 450, 500}, 12},
        {-500, {100, 200, 300, 400, 450}, 12},
        {-300, {100, 200, 400, 450}, 12},
        {-100, {200, 400, 450}, 12},
        {-450, {200, 400}, 12},
        {-200, {400}, 12},
        {-400, {}, 0},  // the last one out ends the list
        {-400, {}, 0},
        {+7, {7}, 6},
    };
    APICrossComm comm;
    for (const Step& s : steps) {
        if (s.handle > 0) {
            comm.AddRef(s.handle);
        } else {
            comm.RemoveRef(-s.handle);
        }
        EXPECT_EQ(Of(comm), s.want) << "after " << s.handle;
        EXPECT_EQ(comm.Capacity(), s.capacity) << "after " << s.handle;
        EXPECT_EQ(comm.Count(), static_cast<int32_t>(s.want.size()));
    }
}

TEST(APICrossComm, FindsEveryHandleAndNothingBetween) {
    APICrossComm comm;
    // Handles as window numbers come: large, and negative ones sort first.
    for (int32_t h : {0x10040, -5, 0x10010, 0x10090, 0x10020, 0, 0x7FFFFFFF}) {
        comm.AddRef(h);
    }
    EXPECT_EQ(Of(comm), (Handles{-5, 0, 0x10010, 0x10020, 0x10040, 0x10090, 0x7FFFFFFF}));
    for (int32_t h : Of(comm)) {
        EXPECT_TRUE(comm.Contains(h)) << h;
        EXPECT_FALSE(comm.Contains(h - 1)) << h - 1;
    }
    EXPECT_FALSE(comm.Contains(0x10011));
}

}  // namespace
}  // namespace kelvara
