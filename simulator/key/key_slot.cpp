#include "key/key_slot.h"

#include <stdexcept>

#include "files/whole_file.h"

namespace kelvor::simulator {

namespace {

UniqueKernelObject Require(HANDLE handle, const char* call)
{
    if (!handle) {
        throw std::runtime_error(std::string(call) + ": " + ErrorText(GetLastError()));
    }
    return UniqueKernelObject(handle);
}

}  // namespace

// Zero when the section is new.
struct KeySlot::Shared {
    volatile LONG presence;
    volatile LONG blinking;
    volatile LONG wrongPins;
};

KeySlot::KeySlot(const std::wstring& name, Presence presence)
    : mutex_(Require(CreateMutexW(nullptr, FALSE, (name + L"-turn").c_str()), "CreateMutex")),
      touched_(Require(CreateEventW(nullptr, FALSE, FALSE, (name + L"-touched").c_str()),
                       "CreateEvent")),
      removed_(
          Require(CreateEventW(nullptr, TRUE, FALSE, (name + L"-removed").c_str()), "CreateEvent"))
{
    const Turn turn(*this);
    section_ = Require(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                          sizeof(Shared), (name + L"-state").c_str()),
                       "CreateFileMapping");
    const bool isFirst = GetLastError() != ERROR_ALREADY_EXISTS;
    view_.Reset(MapViewOfFile(section_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Shared)));
    if (!view_) {
        throw std::runtime_error("MapViewOfFile: " + ErrorText(GetLastError()));
    }
    shared_ = static_cast<Shared*>(view_.Get());
    if (isFirst) {
        Put(presence);
    }
}

Presence KeySlot::Where() const noexcept
{
    return static_cast<Presence>(InterlockedCompareExchange(&shared_->presence, 0, 0));
}

void KeySlot::Put(Presence presence) noexcept
{
    SetWrongPins(0);
    InterlockedExchange(&shared_->presence, static_cast<LONG>(presence));
    if (presence == Presence::kNone) {
        SetEvent(removed_.Get());
    } else {
        ResetEvent(removed_.Get());
    }
}

KeySlot::TouchResult KeySlot::WaitForTouch(DWORD touchAfterMs, DWORD timeoutMs) noexcept
{
    ResetEvent(touched_.Get());
    InterlockedExchange(&shared_->blinking, 1);
    const HANDLE handles[] = {removed_.Get(), touched_.Get()};
    const bool touchesAlone = touchAfterMs < timeoutMs;
    const DWORD result =
        WaitForMultipleObjects(2, handles, FALSE, touchesAlone ? touchAfterMs : timeoutMs);
    InterlockedExchange(&shared_->blinking, 0);
    if (result == WAIT_OBJECT_0) {
        return TouchResult::kRemoved;
    }
    return result == WAIT_OBJECT_0 + 1 || touchesAlone ? TouchResult::kTouched
                                                       : TouchResult::kTimeout;
}

bool KeySlot::IsBlinking() const noexcept
{
    return InterlockedCompareExchange(&shared_->blinking, 0, 0) != 0;
}

void KeySlot::Touch() noexcept
{
    if (IsBlinking()) {
        SetEvent(touched_.Get());
    }
}

LONG KeySlot::WrongPins() const noexcept
{
    return InterlockedCompareExchange(&shared_->wrongPins, 0, 0);
}

void KeySlot::SetWrongPins(LONG count) noexcept
{
    InterlockedExchange(&shared_->wrongPins, count);
}

KeySlot::Turn::Turn(const KeySlot& slot) noexcept : mutex_(slot.mutex_.Get())
{
    WaitForSingleObject(mutex_, INFINITE);
}

KeySlot::Turn::~Turn()
{
    ReleaseMutex(mutex_);
}

}  // namespace kelvor::simulator
