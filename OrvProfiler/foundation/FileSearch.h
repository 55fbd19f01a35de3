#pragma once

// A search for files by their extension: what CPath::FindFiles does, with the same parameters.
struct FileSearch
{
    // Called for each file with its path (the directory searched, a backslash and the name; valid during the call),
    // and for each directory before its files. The context is the caller's. False ends the search.
    using FileCallback = bool (*)(const wchar_t* path, void* context);
    using DirectoryCallback = bool (*)(void* context);

    // Not null. An empty one fits every name.
    const wchar_t* namePrefix;
    FileCallback onFile;
    DirectoryCallback onDirectory;
    void* context;
    bool recurse;

    bool Run(const wchar_t* directory, const wchar_t* extensions) const;
};
