#include "OrvProfiler/foundation/TString.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <cwchar>
#include <string>

// What strings ask of the system and trace, and when they change, in their order.

namespace
{
// The environment: SHORT and OTHER have their names for a value, LONG has 1,499 units, GROWS more each time it is
// asked for. There is no other variable.
DWORD WINAPI Variable(const wchar_t* name, wchar_t* buffer, DWORD units)
{
    const std::wstring variable = name;
    const bool isLong = variable == L"GROWS" || (variable == L"LONG" && units < 1500);
    if (isLong)
    {
        std::wcscpy(buffer, L"{no room}");
        return units + 476;
    }
    if (variable != L"SHORT" && variable != L"OTHER" && variable != L"LONG")
    {
        SetLastError(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    std::wcscpy(buffer, name);
    return static_cast<DWORD>(variable.size());
}

class TStringScript : public testing::Test
{
protected:
    // Shows what the string holds, from here on.
    void Watch(const TString& text)
    {
        m_script.WatchState([&text] { return L"text " + std::wstring(text.GetBuffer()); });
    }

    const Redirect<decltype(GetEnvironmentVariableW)> m_environment{"GetEnvironmentVariableW", Variable};
    const TraceCapture m_trace;
    CallScript m_script;
};
} // namespace

TEST_F(TStringScript, TakesAnEnvironmentVariableBeforeItsBlockGoes)
{
    TString value(L"old");
    Watch(value);
    m_script.WatchBlock(L"SHORT", L"{block}");
    EXPECT_TRUE(TString::GetEnv(L"SHORT", value));
    m_script.WatchState(nullptr);
    EXPECT_TRUE(m_script.Is({L"GetEnvironmentVariableW SHORT something 1024", L"= text SHORT", L"free {block}"}));
}

TEST_F(TStringScript, FreesTheFirstBlockOfALongEnvironmentVariableBeforeItAsksAgain)
{
    TString value(L"old");
    Watch(value);
    m_script.WatchBlock(L"{no room}", L"{first}");
    m_script.WatchBlock(L"LONG", L"{second}");
    EXPECT_TRUE(TString::GetEnv(L"LONG", value));
    EXPECT_TRUE(m_script.Is({L"GetEnvironmentVariableW LONG something 1024", L"free {first}",
                             L"GetEnvironmentVariableW LONG something 1500", L"= text LONG", L"free {second}"}));
    m_script.WatchState(nullptr);
}

TEST_F(TStringScript, GivesUpAnEnvironmentVariableThatGrows)
{
    TString value(L"old");
    Watch(value);
    EXPECT_FALSE(TString::GetEnv(L"GROWS", value));
    EXPECT_TRUE(m_script.Is(
        {L"GetEnvironmentVariableW GROWS something 1024", L"GetEnvironmentVariableW GROWS something 1500"}));
    EXPECT_FALSE(TString::GetEnv(L"NONE", value));
    EXPECT_FALSE(TString::GetEnv(nullptr, value));
    EXPECT_TRUE(
        m_script.Is({L"GetEnvironmentVariableW NONE something 1024", L"GetEnvironmentVariableW  something 1024"}));
    m_script.WatchState(nullptr);
}

TEST_F(TStringScript, ExpandsOneReferenceAfterTheOther)
{
    const TString text(L"a%SHORT%b%OTHER%c");
    TString result;
    Watch(result);
    EXPECT_EQ(1, text.ExpandEnvironment(result));
    EXPECT_TRUE(m_script.Is({L"= text a", L"GetEnvironmentVariableW SHORT something 1024", L"= text aSHORTb",
                             L"GetEnvironmentVariableW OTHER something 1024", L"= text aSHORTbOTHERc"}));
    m_script.WatchState(nullptr);
}

TEST_F(TStringScript, StopsExpandingAtTheFirstVariableThatIsMissing)
{
    TString result;
    Watch(result);
    EXPECT_EQ(-3, TString(L"a%NONE%b%SHORT%").ExpandEnvironment(result));
    EXPECT_TRUE(m_script.Is({L"= text a", L"GetEnvironmentVariableW NONE something 1024"}));
    for (const wchar_t* const text : {L"", L"plain", L"100%"})
        EXPECT_GT(0, TString(text).ExpandEnvironment(result));
    EXPECT_TRUE(m_script.Is({}));
    m_script.WatchState(nullptr);
}

TEST_F(TStringScript, TracesAroundStrippingItsQuotes)
{
    TString text(L" \"a'b");
    Watch(text);
    text.StripQuotes();
    EXPECT_TRUE(m_script.Is(
        {L"trace TString::StripQuotes before: \"a'b\n", L"= text ab", L"trace TString::StripQuotes after:ab\n"}));
    text.Empty();
    m_script.Clear();
    text.StripQuotes();
    EXPECT_TRUE(m_script.Is({}));
    m_script.WatchState(nullptr);
}
