#pragma once

// Lets doctest print what our tests compare, instead of "{?}".

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include <doctest.h>

#include "support/event_sinks.h"

namespace doctest {

template <>
struct StringMaker<std::wstring> {
    static String convert(const std::wstring& text)
    {
        std::string narrow(text.size() * 3 + 1, '\0');
        const int size =
            WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr);
        narrow.resize(static_cast<std::size_t>(size));
        return ("\"" + narrow + "\"").c_str();
    }
};

template <class T>
struct StringMaker<std::optional<T>> {
    static String convert(const std::optional<T>& value)
    {
        return value ? toString(*value) : String("nothing");
    }
};

template <class T>
struct StringMaker<std::vector<T>> {
    static String convert(const std::vector<T>& items)
    {
        String text = "[";
        for (const T& item : items) {
            text += "\n    ";
            text += toString(item);
        }
        return text + "]";
    }
};

template <>
struct StringMaker<kelvor::test::FieldCall> {
    static String convert(const kelvor::test::FieldCall& call)
    {
        return String(call.method.c_str()) + "(" + toString(call.field) + ", " +
               toString(call.number) + ", " + toString(call.text) + ")";
    }
};

}  // namespace doctest
