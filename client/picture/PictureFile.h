#pragma once

#include <string>

// The file of a page. What is there stays as it is until a new page is whole: that is written beside it and then
// takes its place. One thread at a time.
class PictureFile
{
public:
    // A path, in full. Finds out whether the file can be written, and leaves nothing behind. Throws ClientError
    // (usage) when it cannot.
    explicit PictureFile(std::wstring path);

    const std::wstring& Path() const noexcept { return m_path; }

    // Writes the file, or puts this one in the place of the one that is there. Throws ClientError (usage) when that
    // fails; what is there has not changed then.
    void Write(const std::string& page) const;

private:
    std::wstring m_path;
    // Where a page is written before it takes its place.
    std::wstring m_beside;
};
