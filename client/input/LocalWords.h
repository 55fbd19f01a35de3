#pragma once

#include "client/input/LineSource.h"
#include "client/session/Command.h"

#include <string>
#include <string_view>

// Words that the client itself obeys; all others are commands for the workbench.
enum class LocalWord
{
    None,
    Help,
    Start,
    Again,
    Time,
    History,
    Show,
    Hide,
    Quit,
};

struct LocalWordHelp
{
    LocalWord meaning;
    const wchar_t* word;
    // What follows it.
    const wchar_t* arguments;
    const wchar_t* help;
    const wchar_t* example;
};

constexpr size_t c_localWordCount = 9;
extern const LocalWordHelp c_localWords[c_localWordCount];

// By the line's first word, its case does not matter.
LocalWord LocalWordOf(std::wstring_view line);

// What follows the first word, without blanks around it.
std::wstring TextOf(std::wstring_view line);

bool IsEmptyOrComment(std::wstring_view line);

// "message", with the place before it if the line has one: "demo.txt:3: message".
std::wstring At(const std::wstring& where, const std::wstring& message);

// A command or a question. Throws SessionError (bad request), with the line's place.
Command ParseLine(const ScriptLine& line);

struct TimedCommand
{
    size_t count = 0;
    Command command = {};
};

// "time 10 get t.X". Throws ClientError (usage) and what ParseLine throws.
TimedCommand ParseTimed(const ScriptLine& line);

// Throws ClientError (usage) or SessionError for a line that can only fail.
void CheckLine(const ScriptLine& line);
