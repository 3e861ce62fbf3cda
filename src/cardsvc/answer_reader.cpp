#include "cardsvc/answer_reader.h"

#include <algorithm>

#include "cardsvc/json_codec.h"
#include "cardsvc/utf_text.h"

namespace kelvor {

Verdict ReadOk(std::string_view answer)
{
    bool ok = false;
    if (!JsonReadBool(answer, "ok", ok)) {
        return Verdict::kUnclear;
    }
    return ok ? Verdict::kYes : Verdict::kNo;
}

bool ReadText(std::string_view object, std::size_t position, std::string& value)
{
    return JsonReadString(object, position, value) && !value.empty();
}

bool ReadText(std::string_view object, std::string_view key, std::string& value)
{
    return ReadText(object, JsonFindKey(object, key), value);
}

std::wstring ReadWideText(std::string_view object, std::size_t position)
{
    std::string value;
    return ReadText(object, position, value) ? Utf8ToUtf16(value) : std::wstring();
}

std::wstring ReadWideText(std::string_view object, std::string_view key)
{
    return ReadWideText(object, JsonFindKey(object, key));
}

bool ReadFlag(std::string_view object, std::string_view key)
{
    bool value = false;
    return JsonReadBool(object, key, value) && value;
}

std::wstring RefusalReason(std::string_view answer, const wchar_t* defaultText)
{
    std::wstring reason = ReadWideText(answer, "error");
    reason.resize(std::min(reason.find(L'\0'), reason.size()));  // nobody would be shown the rest
    return reason.empty() ? defaultText : reason;
}

}  // namespace kelvor
