#include "bench/Ratios.h"
#include "OrvProfiler/BitMask.h"
#include "OrvProfiler/ProxySecurity.h"
#include "OrvProfiler/TString.h"

#include <bitset>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr double c_countingAim = 1.5;

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
} // namespace

TEST_CASE("text")
{
    for (const size_t units : {10U, 260U, 10000U})
    {
        const std::string suffix = ", " + std::to_string(units) + " units";
        const std::wstring bare = MakeText(units);
        const TString text(bare.c_str());
        TString assigned;
        std::wstring assignedBare;
        CompareRatio(
            "TString assign" + suffix, c_countingAim,
            [&] {
                assigned = text.GetBuffer();
                return assigned.GetCapacity();
            },
            [&] {
                assignedBare = bare.c_str();
                return assignedBare.size();
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
                assignedBare += bare.c_str();
                return assignedBare.size();
            });
        CompareRatio(
            "TString find" + suffix, c_countingAim, [&] { return text.Find(L'#', 0); },
            [&] { return bare.find(L'#'); });
        CompareRatio(
            "TString replace" + suffix, c_countingAim,
            [&] {
                TString copy(text);
                return copy.Replace(L",defg", L";de");
            },
            [&] {
                std::wstring copy(bare);
                return ReplaceBare(copy, L",defg", L";de");
            });
        CompareRatio(
            "TString mid" + suffix, c_countingAim, [&] { return text.Mid(2, units / 2).GetCapacity(); },
            [&] { return bare.substr(2, units / 2).size(); });
        CompareRatio(
            "TString split" + suffix, c_countingAim,
            [&] {
                std::vector<TString> parts;
                return text.Split(L',', parts);
            },
            [&] { return SplitBare(bare, L',').size(); });
    }
}

TEST_CASE("names")
{
    CompareRatio(
        "BuildObjectName, against std::wstring", c_stated,
        [] { return g_SecManager.BuildObjectName(1, L"EV_LOAD1a2b"); },
        [] { return (std::wstring(L"Local\\") + L"EV_LOAD1a2b").size(); });
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
