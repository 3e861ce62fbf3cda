#include "provider/status_line.h"

#include "com_ref.h"
#include "diag/log.h"

namespace kelvor {

void StatusLine::Set(const wchar_t* text, CREDENTIAL_PROVIDER_STATUS_ICON icon)
{
    lock_.With([&] {
        static_cast<void>(fields_.SetString(SFI_STATUS_TEXT, text));
        icon_ = icon;
    });
    if (!screen_.DeferToLogonUi()) {
        PublishOr(text);
    }
}

void StatusLine::PublishOr(const wchar_t* text) const
{
    const TaskString current = Text();
    const wchar_t* const shown = current ? current.Get() : text;
    const auto events = screen_.Events();
    if (!events) {
        LogWarn("status -> '%ls' DROPPED: no credential-events object (not advised).", shown);
        return;
    }
    const HRESULT hr = events->SetFieldString(screen_.Tile(), SFI_STATUS_TEXT, shown);
    LogInfo("status -> '%ls' (SetFieldString hr=0x%08X)", shown, hr);
}

void StatusLine::TakeOptional(CREDENTIAL_PROVIDER_GET_SERIALIZATION_RESPONSE response, LPWSTR* text,
                              CREDENTIAL_PROVIDER_STATUS_ICON* icon) const
{
    if (response == CPGSR_RETURN_CREDENTIAL_FINISHED || *text != nullptr) {
        return;
    }
    if (fields_.PickerUp()) {
        LogInfo(
            "optional status text withheld: the picker is up, so the prompt stays on the tile.");
        return;
    }
    TaskString current = Text();
    if (current && *current.Get() != L'\0') {
        *text = current.Release();
        *icon = Icon();
    }
}

bool StatusLine::Empty() const
{
    const TaskString text = Text();
    return !text || *text.Get() == L'\0';
}

CREDENTIAL_PROVIDER_STATUS_ICON StatusLine::Icon() const
{
    return lock_.With([&] { return icon_; });
}

TaskString StatusLine::Text() const
{
    TaskString text;
    static_cast<void>(fields_.CopyString(SFI_STATUS_TEXT, text.Receive()));
    return text;
}

}  // namespace kelvor
