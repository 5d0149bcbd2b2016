#pragma once

// Event<Args...>: the events a control raises. Handlers connect with
// Connect() and get the arguments exactly as declared, so an event declared
// with references (Event<int16_t&, bool&>) lets a handler change them for the
// raiser. A handler may connect or disconnect handlers, including itself,
// while the event is being raised: a disconnected handler is not called again
// (its function object lives until the raise ends), and handlers connected
// during a raise are called from the next raise on.
//
// A handler may even destroy the object that owns the event (a form
// unloaded from its own Click): the handlers live in a block the raise
// keeps alive, and the raise stops at once when the event is gone. The
// raiser must check its own alive token before it touches its members.
//
// Handlers belong to the object: copying an event copies none of them.

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace kelvara {

template <typename... Args>
class Event {
public:
    using Handler = std::function<void(Args...)>;
    using Connection = uint32_t;

    Event() = default;
    Event(const Event&) {}
    Event& operator=(const Event&) { return *this; }
    Event(Event&&) noexcept = default;
    Event& operator=(Event&& other) noexcept {
        if (this != &other) {
            if (state) {
                state->gone = true;
            }
            state = std::move(other.state);
        }
        return *this;
    }
    ~Event() {
        if (state) {
            state->gone = true;
        }
    }

    Connection Connect(Handler handler) {
        if (!state) {
            state = std::make_shared<State>();
        }
        auto& target = state->raising > 0 ? state->pending : state->slots;
        target.push_back(Slot{++state->lastId, std::move(handler), true});
        return state->lastId;
    }

    void Disconnect(Connection connection) {
        if (!state) {
            return;
        }
        for (auto* list : {&state->slots, &state->pending}) {
            for (auto& slot : *list) {
                if (slot.id == connection) {
                    slot.alive = false;
                }
            }
        }
        Settle(*state);
    }

    void DisconnectAll() {
        if (!state) {
            return;
        }
        for (auto* list : {&state->slots, &state->pending}) {
            for (auto& slot : *list) {
                slot.alive = false;
            }
        }
        Settle(*state);
    }

    bool HasHandlers() const {
        if (!state) {
            return false;
        }
        for (const auto* list : {&state->slots, &state->pending}) {
            for (const auto& slot : *list) {
                if (slot.alive) {
                    return true;
                }
            }
        }
        return false;
    }

    void Raise(Args... args) {
        if (!state || state->slots.empty()) {
            return;
        }
        // Kept alive here, so a handler may destroy the event's owner.
        const std::shared_ptr<State> keep = state;
        ++keep->raising;
        // Slots neither grow nor shrink while raising.
        for (size_t i = 0; i < keep->slots.size() && !keep->gone; ++i) {
            if (keep->slots[i].alive) {
                keep->slots[i].handler(std::forward<Args>(args)...);
            }
        }
        --keep->raising;
        Settle(*keep);
    }

    void operator()(Args... args) { Raise(std::forward<Args>(args)...); }

private:
    struct Slot {
        Connection id;
        Handler handler;
        bool alive;
    };
    struct State {
        std::vector<Slot> slots;
        std::vector<Slot> pending;
        Connection lastId = 0;
        int raising = 0;
        bool gone = false;
    };

    static void Settle(State& s) {
        if (s.raising > 0) {
            return;
        }
        std::erase_if(s.slots, [](const Slot& slot) { return !slot.alive; });
        for (auto& slot : s.pending) {
            if (slot.alive) {
                s.slots.push_back(std::move(slot));
            }
        }
        s.pending.clear();
    }

    std::shared_ptr<State> state;
};

}  // namespace kelvara
