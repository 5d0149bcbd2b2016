#pragma once

// Event<Args...>: the events a control raises. Handlers connect with
// Connect() and get the arguments exactly as declared, so an event declared
// with references (Event<int16_t&, bool&>) lets a handler change them for the
// raiser. A handler may connect or disconnect handlers, including itself,
// while the event is being raised: a disconnected handler is not called again
// (its function object lives until the raise ends), and handlers connected
// during a raise are called from the next raise on.

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace kelvara {

template <typename... Args>
class Event {
public:
    using Handler = std::function<void(Args...)>;
    using Connection = uint32_t;

    Connection Connect(Handler handler) {
        auto& target = raising > 0 ? pending : slots;
        target.push_back(Slot{++lastId, std::move(handler), true});
        return lastId;
    }

    void Disconnect(Connection connection) {
        for (auto* list : {&slots, &pending}) {
            for (auto& slot : *list) {
                if (slot.id == connection) {
                    slot.alive = false;
                }
            }
        }
        Settle();
    }

    void DisconnectAll() {
        for (auto* list : {&slots, &pending}) {
            for (auto& slot : *list) {
                slot.alive = false;
            }
        }
        Settle();
    }

    bool HasHandlers() const {
        for (const auto* list : {&slots, &pending}) {
            for (const auto& slot : *list) {
                if (slot.alive) {
                    return true;
                }
            }
        }
        return false;
    }

    void Raise(Args... args) {
        if (slots.empty()) {
            return;
        }
        ++raising;
        for (auto& slot : slots) {  // slots neither grow nor shrink while raising
            if (slot.alive) {
                slot.handler(std::forward<Args>(args)...);
            }
        }
        --raising;
        Settle();
    }

    void operator()(Args... args) { Raise(std::forward<Args>(args)...); }

private:
    struct Slot {
        Connection id;
        Handler handler;
        bool alive;
    };

    void Settle() {
        if (raising > 0) {
            return;
        }
        std::erase_if(slots, [](const Slot& slot) { return !slot.alive; });
        for (auto& slot : pending) {
            if (slot.alive) {
                slots.push_back(std::move(slot));
            }
        }
        pending.clear();
    }

    std::vector<Slot> slots;
    std::vector<Slot> pending;
    Connection lastId = 0;
    int raising = 0;
};

}  // namespace kelvara
