#include "client/picture/LogPicture.h"

#include "client/base/SystemFailure.h"
#include "client/console/ClientError.h"
#include "client/log/TraceLogFile.h"
#include "client/picture/LogSteps.h"
#include "client/picture/TraceLogReader.h"

#include <windows.h>

#include <utility>

namespace
{
std::wstring WrittenAt(HANDLE file)
{
    FILETIME written{};
    FILETIME local{};
    SYSTEMTIME time{};
    if (GetFileTime(file, nullptr, nullptr, &written) == FALSE ||
        FileTimeToLocalFileTime(&written, &local) == FALSE || FileTimeToSystemTime(&local, &time) == FALSE)
        return {};
    return LocalTimeText(time);
}

void AddEnd(Picture& picture, const LogSteps::Life& life, bool isInCommand)
{
    const auto fail = [&](const wchar_t* text) { picture.errors.Add({life.lastMs, text, std::nullopt, {}}); };
    if (life.hasNoRuntime)
        fail(L"the managed runtime could not be loaded");
    if (life.hasRaised)
        fail(L"an exception reached the workbench's main loop and ended it");
    if (isInCommand && !life.hasRaised)
        fail(L"the log ends in a command: the workbench was lost there, was ended, or still ran");
    else if (!life.hasExited)
        picture.notes.emplace_back(L"The log does not tell of the workbench's end: it still ran, was ended from "
                                   L"outside, or the log is cut off.");
    if (!life.hasBegun)
        picture.notes.emplace_back(L"The log's beginning is missing.");
    if (life.wasAnotherRun)
        picture.notes.emplace_back(L"The log holds more than one run of a workbench.");
}

void AddLife(Picture& picture, const LogSteps::Life& told)
{
    WorkbenchLife life;
    life.clientId = told.clientId;
    life.atMs = picture.beganMs;
    if (told.readyMs)
    {
        life.readyMs = *told.readyMs;
        life.readyElapsedMs = *told.readyMs - picture.beganMs;
    }
    if (told.hasExited)
        life.endMs = told.lastMs;
    picture.lives.Add(life);
}
} // namespace

Picture PictureOfLog(const std::wstring& path, bool protocolView)
{
    const UniqueHandle file = OpenShared(path.c_str());
    if (const DWORD error = GetLastError(); !file)
        throw ClientError(ExitStatus::Usage, SystemFailure(L"the log " + path + L" cannot be read", error));
    Picture picture;
    bool isInCommand = false;
    LogSteps steps({[&](Step step) {
                        isInCommand = !step.verdict && step.deviation.empty();
                        step.number = picture.steps.CommandCount() + 1;
                        step.log = WithinRoom(picture, step.log);
                        picture.steps.Add(std::move(step));
                    },
                    [&](const LogLine& line) { picture.logLines.Add(line); }},
                   protocolView);
    TraceLogReader reader([&](const TracedLine& line) { steps.Take(line); });
    reader.FeedFile(file.Get());
    reader.End();
    steps.End();
    if (reader.LineCount() == 0)
        throw ClientError(ExitStatus::Usage, path + L" is no trace log of a workbench");
    const LogSteps::Life& life = steps.LifeSoFar();
    picture.log = path;
    picture.began = WrittenAt(file.Get());
    picture.beganMs = life.firstMs.value_or(0);
    picture.endMs = life.lastMs;
    AddLife(picture, life);
    AddEnd(picture, life, isInCommand);
    return picture;
}
