#pragma once

// Result<T, E>: a value or an error code, for code that can fail on input.
// Decoders return it internally; the members the host sees turn it into
// their documented answer (False, an empty surface).

#include <cassert>
#include <utility>
#include <variant>

namespace kelvara {

template <typename E>
struct Failure {
    E error;
};

template <typename E>
Failure<E> Fail(E error) {
    return Failure<E>{error};
}

template <typename T, typename E>
class [[nodiscard]] Result {
public:
    Result(T value) : state(std::in_place_index<0>, std::move(value)) {}
    Result(Failure<E> failure) : state(std::in_place_index<1>, failure.error) {}

    bool Ok() const { return state.index() == 0; }
    explicit operator bool() const { return Ok(); }

    const T& Value() const {
        assert(Ok());
        return std::get<0>(state);
    }
    T& Value() {
        assert(Ok());
        return std::get<0>(state);
    }
    E Error() const {
        assert(!Ok());
        return std::get<1>(state);
    }

private:
    std::variant<T, E> state;
};

// For operations that yield nothing but success.
struct Done {};

}  // namespace kelvara
