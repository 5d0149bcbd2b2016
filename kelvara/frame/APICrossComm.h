#pragma once

// APICrossComm: the one object the image controls of a form share, so that
// they act as a group: the windows of its members (a sorted list of
// handles), the member holding the mouse, and a drawing-session token.
// APIICrossComm is what a member implements so the group can reach it.

#include <cstdint>
#include <span>
#include <vector>

namespace kelvara {

class APICrossComm;

class APIICrossComm {
public:
    virtual ~APIICrossComm() = default;
    // The shared object this member belongs to, nullptr for none: how a
    // new control finds the group among its form's controls.
    virtual APICrossComm* CrossTalkClass() = 0;
    // Asked of the member holding the mouse when another must take it.
    virtual void ReleaseMouseCapture() = 0;
};

class APICrossComm {
public:
    // Slots are added this many at a time past what is needed.
    static constexpr int32_t kGrowth = 5;

    // Adds a handle; one already in the list is not added twice.
    void AddRef(int32_t handle);
    // Takes a handle out; one not in the list changes nothing. The last one
    // out ends the list, slots included.
    void RemoveRef(int32_t handle);
    // The handles, in increasing order.
    std::span<const int32_t> Handles() const { return {slots.data(), static_cast<size_t>(count)}; }
    int32_t Count() const { return count; }
    // Slots held, used or not.
    int32_t Capacity() const { return static_cast<int32_t>(slots.size()); }
    bool Contains(int32_t handle) const;

    // The member holding the mouse, nullptr for none. Not owned.
    APIICrossComm* CapturedControl() const { return capturedControl; }
    void SetCapturedControl(APIICrossComm* control) { capturedControl = control; }

    // The drawing-session token the members share; 0 for none.
    int32_t gdiToken() const { return token; }
    void SetgdiToken(int32_t value) { token = value; }
    // Keeps the drawing session alive past the last member. There is no
    // such session here (drawing is our own code and needs no start-up or
    // shut-down), so there is nothing to keep: it does nothing.
    void ManageGDIToken() {}

private:
    // Where a handle is, or where it would go: the first slot whose handle
    // is not below it.
    int32_t LowerBound(int32_t handle) const;

    std::vector<int32_t> slots;
    int32_t count = 0;
    APIICrossComm* capturedControl = nullptr;
    int32_t token = 0;
};

}  // namespace kelvara
