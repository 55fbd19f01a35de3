#pragma once
// A client that leaves evidence in a folder of the test's own.

#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/Files.h"

#include <regex>
#include <string>

// What a client has left that was given --evidence and that folder.
class LeftEvidence
{
public:
    // Reads the folder's name from what the client said.
    LeftEvidence(const TemporaryFolder& place, const std::string& errors)
    {
        std::smatch match;
        if (std::regex_search(errors, match, std::regex(R"(\n  its evidence: .*\\([-_0-9]+)\\\n)")))
            m_folder = place.PathOf(std::wstring(match[1].first, match[1].second) + L"\\");
    }

    bool Has(const wchar_t* file) const { return !m_folder.empty() && PathExists(m_folder + file); }
    // Empty when there is none.
    std::string Read(const wchar_t* file) const { return Has(file) ? FileBytes(m_folder + file) : std::string(); }
    std::string Report() const { return Read(L"report.txt"); }

private:
    std::wstring m_folder;
};
