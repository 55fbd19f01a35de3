#include "client/log/WorkbenchLog.h"

#include "client/log/TraceLogFile.h"

#include <utility>

WorkbenchLog::WorkbenchLog(Setup setup) : m_setup(std::move(setup)) {}

bool WorkbenchLog::Listen()
{
    m_keepsText = m_setup.keepsText && IsTraceLogHeld();
    m_text.clear();
    const bool follows = m_setup.onLine || m_setup.keepsLastLine || m_keepsText;
    const bool readsFile = follows && LogFollower::CanReadFile();
    if (follows)
        m_follower = std::make_unique<LogFollower>(
            [this](const std::wstring& line) {
                {
                    const std::lock_guard<std::mutex> guard(m_lock);
                    m_lastLine = line;
                    Keep(line);
                }
                if (m_setup.onLine)
                    m_setup.onLine(line);
            },
            readsFile);
    if (!m_setup.onDebugText && (!follows || readsFile))
        return true;
    m_debugOutput = std::make_unique<DebugOutput>([this](uint32_t processId, const std::string& text) {
        if (m_setup.onDebugText)
            m_setup.onDebugText(processId, text);
        if (m_follower != nullptr)
            m_follower->OnDebugText(processId, text);
    });
    return !follows || readsFile || m_debugOutput->IsListening();
}

bool WorkbenchLog::Begin(uint32_t processId, uint32_t clientId, LogFollower::From from)
{
    if (m_follower == nullptr)
        return true;
    const bool follows = m_follower->Begin(processId, clientId, from);
    if (from == LogFollower::From::Start)
        m_follower->CatchUp();
    return follows;
}

void WorkbenchLog::CatchUp()
{
    if (m_follower != nullptr)
        m_follower->CatchUp();
}

void WorkbenchLog::End()
{
    m_debugOutput.reset();
    m_follower.reset();
    const std::lock_guard<std::mutex> guard(m_lock);
    m_lastLine.clear();
}

// Old lines go half of the text at a time.
void WorkbenchLog::Keep(const std::wstring& line)
{
    if (!m_keepsText)
        return;
    if (m_text.size() + line.size() > c_keptText)
        m_text.erase(0, m_text.size() / 2);
    m_text.append(line).append(L"\r\n");
}

std::wstring WorkbenchLog::Text()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_text;
}

std::wstring WorkbenchLog::LastLine()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_lastLine;
}
