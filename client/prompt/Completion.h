#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// A way in which a line could go on.
struct Proposal
{
    // What replaces the line from there on; empty for a mere hint.
    size_t at = 0;
    std::wstring text;
    // What a list shows for it.
    std::wstring shown;
};

// Proposals for the end of a line: the client's own words, files after load, and for everything else what the
// dispatcher has. ask is called with a whole line, of one of the workbench's commands or a question.
class Completer
{
public:
    using Ask = std::function<std::vector<Proposal>(const std::wstring& line)>;

    // folder: where load finds a file that is not where the user stands; with a separator at its end, or empty.
    Completer(std::wstring folder, Ask ask);

    // The words that hide takes.
    void SetShown(std::vector<std::wstring> shown);
    std::vector<Proposal> Propose(const std::wstring& line) const;

private:
    std::vector<Proposal> ProposeFiles(const std::wstring& line, size_t at) const;
    // The command begins at start.
    std::vector<Proposal> ProposeText(const std::wstring& line, size_t start) const;

    std::wstring m_folder;
    Ask m_ask;
    std::vector<std::wstring> m_shown;
};

struct Completed
{
    // The line, as far as all proposals that replace something agree.
    std::wstring line;
    // It is as it was: the user has to choose.
    bool isUndecided = false;
};
Completed Complete(const std::wstring& line, const std::vector<Proposal>& proposals);

// The proposals as lines of a text that is so wide and so high: what they show, one on each line, if there are few;
// otherwise what they insert, in columns. The last line says how many had no room.
std::wstring ChoiceText(const std::vector<Proposal>& proposals, size_t width, size_t height);
