#pragma once

#include <windows.h>

#include <string>
#include <utility>

// Sets an environment variable, which processes started later inherit. The destructor removes it.
class EnvironmentVariable
{
public:
    EnvironmentVariable(std::wstring name, const std::wstring& value) : m_name(std::move(name))
    {
        SetEnvironmentVariableW(m_name.c_str(), value.c_str());
    }
    ~EnvironmentVariable() { SetEnvironmentVariableW(m_name.c_str(), nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::wstring m_name;
};
