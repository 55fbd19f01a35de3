#include "client/log/WorkbenchLog.h"

#include <utility>

WorkbenchLog::WorkbenchLog(Setup setup) : m_setup(std::move(setup)) {}

bool WorkbenchLog::Listen()
{
    const bool follows = m_setup.onLine || m_setup.keepsLastLine;
    const bool readsFile = follows && LogFollower::CanReadFile();
    if (follows)
        m_follower = std::make_unique<LogFollower>(
            [this](const std::wstring& line) {
                {
                    const std::lock_guard<std::mutex> guard(m_lock);
                    m_lastLine = line;
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

std::wstring WorkbenchLog::LastLine()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_lastLine;
}
