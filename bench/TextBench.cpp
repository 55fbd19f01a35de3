#include "bench/Ratios.h"
#include "OrvProfiler/foundation/BitMask.h"
#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <algorithm>
#include <bitset>
#include <cwchar>
#include <string>
#include <vector>

namespace
{
constexpr double c_countingAim = 1.5;
// Rows of this name have a std::wstring that does what the rules demand as their baseline: the floor of the row
// above.
std::string Floor(const std::string& row)
{
    return "  as the rules demand: " + row;
}

// Words of a few letters, so that searching, replacing and splitting have something to do.
std::wstring MakeText(size_t units)
{
    std::wstring text;
    while (text.size() < units)
        text += L"abc,defg ";
    text.resize(units - 1);
    return text + L'#';
}

std::vector<std::wstring> SplitBare(const std::wstring& text, wchar_t separator)
{
    std::vector<std::wstring> parts;
    size_t start = 0;
    for (;;)
    {
        const size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end == std::wstring::npos ? end : end - start));
        if (end == std::wstring::npos)
            return parts;
        start = end + 1;
    }
}

size_t ReplaceBare(std::wstring& text, const std::wstring& from, const std::wstring& to)
{
    size_t count = 0;
    for (size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size()))
    {
        text.replace(at, from.size(), to);
        ++count;
    }
    return count;
}

// What the rules of TString demand of a string: room for 260 units, and a length that is counted.
std::wstring WithRoom(const wchar_t* text, size_t count)
{
    std::wstring string;
    string.reserve(260);
    string.assign(text, count);
    return string;
}

std::vector<std::wstring> SplitWithRoom(const std::wstring& text, wchar_t separator)
{
    std::vector<std::wstring> parts;
    parts.reserve(static_cast<size_t>(std::count(text.begin(), text.end(), separator)) + 1);
    const wchar_t* start = text.c_str();
    for (;;)
    {
        const wchar_t* const end = std::wcschr(start, separator);
        parts.push_back(WithRoom(start, end != nullptr ? static_cast<size_t>(end - start) : std::wcslen(start)));
        if (end == nullptr)
            return parts;
        start = end + 1;
    }
}

void CompareChanges(const std::string& suffix, const std::wstring& bare, const TString& text)
{
    TString assigned;
    std::wstring assignedBare;
    const auto assign = [&] {
        assigned = text.GetBuffer();
        return assigned.GetCapacity();
    };
    CompareRatio("TString assign" + suffix, c_countingAim, assign, [&] {
        assignedBare.assign(bare.c_str()); // NOLINT(readability-redundant-string-cstr): a pointer, as above
        return assignedBare.size();
    });
    CompareRatio(Floor("assign" + suffix), c_stated, assign, [&] {
        if (IsBadStringPtrW(bare.c_str(), 1) != FALSE)
            return size_t{0};
        const size_t old = std::wcslen(assignedBare.c_str());
        assignedBare.assign(bare.c_str()); // NOLINT(readability-redundant-string-cstr): a pointer, as above
        return assignedBare.size() + old;
    });
    CompareRatio(
        "TString append" + suffix, c_countingAim,
        [&] {
            assigned.Empty();
            assigned += text;
            return assigned.GetCapacity();
        },
        [&] {
            assignedBare.clear();
            assignedBare.append(bare.c_str()); // NOLINT(readability-redundant-string-cstr): a pointer, as above
            return assignedBare.size();
        });
    const auto replace = [&] {
        TString copy(text);
        return copy.Replace(L",defg", L";de");
    };
    CompareRatio("TString replace" + suffix, c_countingAim, replace, [&] {
        std::wstring copy(bare);
        return ReplaceBare(copy, L",defg", L";de");
    });
    CompareRatio(Floor("replace" + suffix), c_stated, replace, [&] {
        std::wstring copy = WithRoom(bare.c_str(), std::wcslen(bare.c_str()));
        std::wstring replaced = WithRoom(copy.c_str(), copy.size());
        const size_t count = ReplaceBare(replaced, L",defg", L";de");
        copy.assign(replaced.c_str(), replaced.size());
        return count + std::wcslen(copy.c_str());
    });
}

void CompareParts(const std::string& suffix, const std::wstring& bare, const TString& text)
{
    CompareRatio(
        "TString find" + suffix, c_countingAim, [&] { return text.Find(L'#', 0); }, [&] { return bare.find(L'#'); });
    const size_t half = bare.size() / 2;
    const auto mid = [&] { return text.Mid(2, half).GetCapacity(); };
    CompareRatio("TString mid" + suffix, c_countingAim, mid, [&] { return bare.substr(2, half).size(); });
    CompareRatio(Floor("mid" + suffix), c_stated, mid,
                 [&] { return WithRoom(bare.c_str() + 2, wcsnlen(bare.c_str() + 2, half)).size(); });
    const auto split = [&] {
        std::vector<TString> parts;
        return text.Split(L',', parts);
    };
    CompareRatio("TString split" + suffix, c_countingAim, split, [&] { return SplitBare(bare, L',').size(); });
    CompareRatio(Floor("split" + suffix), c_stated, split, [&] { return SplitWithRoom(bare, L',').size(); });
}
} // namespace

TEST_CASE("text")
{
    for (const size_t units : {10U, 260U, 10000U})
    {
        const std::string suffix = ", " + std::to_string(units) + " units";
        const std::wstring bare = MakeText(units);
        const TString text(bare.c_str());
        CompareChanges(suffix, bare, text);
        CompareParts(suffix, bare, text);
    }
}

TEST_CASE("names")
{
    CompareRatio(
        "BuildObjectName, against std::wstring", c_stated,
        [] { return g_SecManager.BuildObjectName(1, L"EV_LOAD1a2b"); },
        [] { return (std::wstring(L"Local\\") + L"EV_LOAD1a2b").size(); });
    wchar_t device[MAX_PATH]{};
    REQUIRE(QueryDosDeviceW(L"c:", device, MAX_PATH) != 0);
    const std::wstring path = std::wstring(device) + L"\\folder\\file.dll";
    CompareRatio(
        "DeviceToDrivePath, against asking the system for a drive", c_stated,
        [&] { return DeviceToDrivePath(path.c_str()); }, [&] { return QueryDosDeviceW(L"c:", device, MAX_PATH); });
    BitMask mask;
    std::bitset<1024> bits;
    mask.Set(1000, true);
    uint32_t next = 0;
    CompareRatio(
        "BitMask set and test, against std::bitset", c_stated,
        [&] {
            next = (next + 7) % 1000;
            mask.Set(next, true);
            return mask.Test(next);
        },
        [&] {
            next = (next + 7) % 1000;
            bits.set(next);
            return bits.test(next);
        });
}
