#include "kelvara/base/Event.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <string>
#include <vector>

namespace kelvara {
namespace {

TEST(Event, HandlersRunInConnectionOrderAndCanChangeReferenceArguments) {
    Event<int16_t&, bool&> keyDown;
    std::vector<std::string> order;
    keyDown.Connect([&](int16_t& key, bool&) {
        order.push_back("first");
        key = 13;
    });
    keyDown.Connect([&](int16_t& key, bool& cancel) {
        order.push_back("second saw " + std::to_string(key));
        cancel = true;
    });
    int16_t key = 65;
    bool cancel = false;
    keyDown.Raise(key, cancel);
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second saw 13"}));
    EXPECT_EQ(key, 13);
    EXPECT_TRUE(cancel);
}

TEST(Event, HandlerMayDisconnectItselfAndConnectOthersWhileRaised) {
    Event<> click;
    std::vector<std::string> calls;
    Event<>::Connection self = 0;
    self = click.Connect([&] {
        calls.push_back("once");
        click.Disconnect(self);
        click.Connect([&] { calls.push_back("late"); });
    });
    click.Connect([&] { calls.push_back("always"); });

    click.Raise();
    EXPECT_EQ(calls, (std::vector<std::string>{"once", "always"}));
    calls.clear();
    click.Raise();
    EXPECT_EQ(calls, (std::vector<std::string>{"always", "late"}));
}

TEST(Event, DisconnectAllLeavesNoHandlers) {
    Event<int> change;
    int seen = 0;
    change.Connect([&](int v) { seen += v; });
    EXPECT_TRUE(change.HasHandlers());
    change.DisconnectAll();
    EXPECT_FALSE(change.HasHandlers());
    change.Raise(5);
    EXPECT_EQ(seen, 0);
}

TEST(Event, AHandlerMayDestroyTheEventsOwner) {
    struct Owner {
        Event<int> Changed;
    };
    auto owner = std::make_unique<Owner>();
    std::vector<int> calls;
    owner->Changed.Connect([&](int v) {
        calls.push_back(v);
        owner.reset();
    });
    owner->Changed.Connect([&](int v) { calls.push_back(v + 100); });
    owner->Changed.Raise(1);
    EXPECT_EQ(owner, nullptr);
    EXPECT_EQ(calls, std::vector<int>{1}) << "no handler runs once the event is gone";
}

TEST(Event, CopiesCarryNoHandlers) {
    Event<> click;
    int clicks = 0;
    click.Connect([&] { ++clicks; });
    Event<> copy = click;
    copy.Raise();
    EXPECT_EQ(clicks, 0);
    Event<> moved = std::move(click);
    moved.Raise();
    EXPECT_EQ(clicks, 1);
}

}  // namespace
}  // namespace kelvara
