#include "tests/support/contract/TraceLines.h"

#include "tests/support/contract/Contract.h"

namespace contract
{
Lines Join(std::initializer_list<Lines> parts)
{
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Lines InLogFile(const Lines& lines)
{
    Lines inFile;
    for (const std::wstring& line : lines)
    {
        size_t begin = 0;
        for (size_t end = line.find(L'\n'); end != std::wstring::npos; end = line.find(L'\n', begin))
        {
            inFile.push_back(line.substr(begin, end - begin));
            begin = end + 1;
        }
    }
    return inFile;
}

std::wstring Replaced(std::wstring text, const std::wstring& from, const std::wstring& to)
{
    for (size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string AsLiteral(const std::wstring& line)
{
    std::string text = "L\"";
    for (const wchar_t unit : line)
    {
        if (unit == L'\n')
            text += "\\n";
        else if (unit == L'\\' || unit == L'"')
            text += {'\\', static_cast<char>(unit)};
        else
            text += static_cast<char>(unit);
    }
    return text + "\",";
}

std::wstring EventCreatedLine(const std::wstring& kernelName)
{
    return L"CProxySecManager::OrvPCreateEvent CreateEvent " + kernelName + L" succeeded \n";
}

std::wstring MutexCreatedLine(const std::wstring& kernelName)
{
    return L"CProxySecManager::OrvPCreateMutex Create Mutex " + kernelName + L"\n";
}

std::wstring MappingCreatedLine(const std::wstring& kernelName)
{
    return L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: " + kernelName + L"\n";
}

std::wstring OpenMapLine(const std::wstring& name)
{
    return L"CProxyMap::OpenMap Open Map Name: " + name + L"\n";
}

std::wstring MapCreatedLine(const std::wstring& name)
{
    return L"CProxyMap::Create created share " + name + L" successfully \n";
}

Lines EventLines(const std::wstring& prefix, const std::wstring& idText)
{
    Lines lines;
    for (const wchar_t* const name : c_eventNames)
        lines.push_back(EventCreatedLine(prefix + name + idText));
    return lines;
}

Lines ShareMutexLines(const std::wstring& shareKernelName)
{
    Lines lines;
    for (unsigned index = 0; index < c_shareMutexCount; ++index)
        lines.push_back(MutexCreatedLine(shareKernelName + L"_" + std::to_wstring(index)));
    return lines;
}

Lines OpenedShareLines(const std::wstring& shareName, const std::wstring& shareKernelName, const std::wstring& idText)
{
    return Join({{c_shareSizeLine, OpenMapLine(shareName)},
                 ShareMutexLines(shareKernelName),
                 {L"CHost::Init Opened share for pid = " + idText + L"\n"}});
}

Lines WaitLines(const std::wstring& eventName)
{
    return {L"CHost::Run Sleeping\n\n", L"CWBEvent::Wait Waiting\n\n",
            L"CWBEvent::Wait Event is " + eventName + L"\n"};
}
} // namespace contract
