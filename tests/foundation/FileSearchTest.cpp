#include "OrvProfiler/foundation/Path.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <io.h>

#include <cwchar>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Collects what a search reports, as paths below its root folder, and says when to end it.
struct Found
{
    std::wstring root;
    std::vector<std::wstring> files;
    unsigned directories = 0;
    size_t stopAtFile = SIZE_MAX;
    unsigned stopAtDirectory = ~0U;

    static bool OnFile(const wchar_t* path, void* context)
    {
        auto& found = *static_cast<Found*>(context);
        const std::wstring text = path;
        const bool below = text.compare(0, found.root.size() + 1, found.root + L"\\") == 0;
        found.files.push_back(below ? text.substr(found.root.size() + 1) : L"outside: " + text);
        return found.files.size() != found.stopAtFile;
    }
    static bool OnDirectory(void* context)
    {
        auto& found = *static_cast<Found*>(context);
        return ++found.directories != found.stopAtDirectory;
    }

    bool Search(const wchar_t* prefix, const wchar_t* extensions, bool recurse)
    {
        files.clear();
        directories = 0;
        return CPath::FindFiles(root.c_str(), prefix, extensions, OnFile, OnDirectory, this, recurse);
    }
};

// The C runtime's search, with its handles counted. The folders "hidden" and "system" get these attributes here,
// because not every file system under Wine keeps them.
class WatchedSearch
{
public:
    WatchedSearch() : m_first("_wfindfirst64", First), m_next("_wfindnext64", Next), m_close("_findclose", Close)
    {
        s_self = this;
    }
    ~WatchedSearch() { s_self = nullptr; }
    WatchedSearch(const WatchedSearch&) = delete;
    WatchedSearch& operator=(const WatchedSearch&) = delete;

    int OpenSearches() const { return m_open; }
    unsigned Searches() const { return m_searches; }

private:
    static intptr_t First(const wchar_t* pattern, _wfinddata64_t* entry)
    {
        const intptr_t handle = s_self->m_first.Real()(pattern, entry);
        ++s_self->m_searches;
        s_self->m_open += handle != -1 ? 1 : 0;
        if (handle != -1)
            Mark(*entry);
        return handle;
    }
    static int Next(intptr_t handle, _wfinddata64_t* entry)
    {
        const int result = s_self->m_next.Real()(handle, entry);
        if (result == 0)
            Mark(*entry);
        return result;
    }
    static int Close(intptr_t handle)
    {
        --s_self->m_open;
        return s_self->m_close.Real()(handle);
    }
    static void Mark(_wfinddata64_t& entry)
    {
        if (wcscmp(entry.name, L"hidden") == 0)
            entry.attrib |= _A_HIDDEN;
        if (wcscmp(entry.name, L"system") == 0)
            entry.attrib |= _A_SYSTEM;
    }

    static inline WatchedSearch* s_self = nullptr;

    int m_open = 0;
    unsigned m_searches = 0;
    Redirect<intptr_t(const wchar_t*, _wfinddata64_t*)> m_first;
    Redirect<int(intptr_t, _wfinddata64_t*)> m_next;
    Redirect<int(intptr_t)> m_close;
};

// A tree of folders and files.
class Tree
{
public:
    Tree()
    {
        m_folder.MakeFolder(L"hidden", FILE_ATTRIBUTE_HIDDEN);
        m_folder.MakeFolder(L"system", FILE_ATTRIBUTE_SYSTEM);
        for (const wchar_t* name : {L"sub", L"sub\\deep", L".git", L"empty", L"dir.txt"})
            m_folder.MakeFolder(name);
        for (const wchar_t* name :
             {L"a.txt", L"b.TXT", L"c.log", L"d.txt.bak", L"noext", L".txt", L"ends.", L"sub\\a2.txt", L"sub\\b2.log",
              L"sub\\deep\\a3.txt", L"hidden\\h.txt", L"system\\s.txt", L".git\\g.txt", L"dir.txt\\in.txt"})
            m_folder.MakeFile(name);
        m_found.root = m_folder.Path();
    }

    Found& Search() { return m_found; }
    const std::wstring& Path() const { return m_folder.Path(); }

private:
    TemporaryFolder m_folder;
    Found m_found;
};
} // namespace

TEST(FindFiles, FindsTheFilesOfOneFolder)
{
    Tree tree;
    const WatchedSearch watch;
    EXPECT_TRUE(tree.Search().Search(nullptr, L".txt", false));
    EXPECT_THAT(tree.Search().files, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt"));
    EXPECT_EQ(1U, tree.Search().directories);
    EXPECT_EQ(0, watch.OpenSearches());
}

TEST(FindFiles, RecursesButNotIntoHiddenSystemAndDottedFolders)
{
    Tree tree;
    const WatchedSearch watch;
    EXPECT_TRUE(tree.Search().Search(L"", L".txt", true));
    EXPECT_THAT(tree.Search().files, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt", L"sub\\a2.txt",
                                                          L"sub\\deep\\a3.txt", L"dir.txt\\in.txt"));
    // The root, sub, deep, empty and dir.txt.
    EXPECT_EQ(5U, tree.Search().directories);
    EXPECT_EQ(5U, watch.Searches());
    EXPECT_EQ(0, watch.OpenSearches());
}

TEST(FindFiles, TakesSeveralExtensionsAndAPrefixOfTheName)
{
    Tree tree;
    Found& found = tree.Search();
    EXPECT_TRUE(found.Search(nullptr, L".TXT;.log", true));
    EXPECT_THAT(found.files, testing::IsSupersetOf({L"a.txt", L"c.log", L"sub\\b2.log", L"sub\\a2.txt"}));
    EXPECT_TRUE(found.Search(L"A", L".txt .log", true));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"a.txt", L"sub\\a2.txt", L"sub\\deep\\a3.txt"));
    EXPECT_TRUE(found.Search(L"a2", L".txt", true));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"sub\\a2.txt"));
    EXPECT_TRUE(found.Search(L"a.txt and more", L".txt", true));
    EXPECT_THAT(found.files, IsEmpty());
    EXPECT_TRUE(found.Search(nullptr, L".bak", false));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"d.txt.bak"));
}

TEST(FindFiles, ExtensionListsHaveFourSeparators)
{
    Tree tree;
    Found& found = tree.Search();
    for (const wchar_t* const list :
         {L".bak;.log", L".bak,.log", L".bak .log", L".bak:.log", L" ;,: .bak :: .log;;", L".log;.log;.bak;.x-_9"})
    {
        EXPECT_TRUE(found.Search(nullptr, list, false)) << list;
        EXPECT_THAT(found.files, UnorderedElementsAre(L"c.log", L"d.txt.bak")) << list;
    }
}

TEST(FindFiles, AnExtensionIsWhatFollowsTheLastDot)
{
    const TemporaryFolder folder;
    for (const wchar_t* name : {L"a.c-1", L"a.c_1", L"a.c1", L"a.c", L"a.7z", L"ac", L"a.c+"})
        folder.MakeFile(name);
    Found found;
    found.root = folder.Path();
    EXPECT_TRUE(found.Search(nullptr, L".c-1,.C_1,.7z", false));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"a.c-1", L"a.c_1", L"a.7z"));
    EXPECT_TRUE(found.Search(nullptr, L".ac", false));
    EXPECT_THAT(found.files, IsEmpty());
}

TEST(FindFiles, MalformedExtensionListsAreRefusedWithALine)
{
    Tree tree;
    Found& found = tree.Search();
    for (const wchar_t* const list : {L"txt", L"*.txt", L".", L".txt;.", L".t*t", L".tar.gz", L".txt;log",
                                      L".txt|.log", L".txt\t.log", L"..txt", L".txt;.lo g"})
    {
        const TraceCapture trace;
        EXPECT_FALSE(found.Search(nullptr, list, true)) << list;
        EXPECT_THAT(found.files, IsEmpty());
        EXPECT_EQ(0U, found.directories);
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(std::wstring(L"CPath::FindFiles extension list refused: ") + list + L"\n"));
    }
    // A refused list leaves nothing behind.
    EXPECT_TRUE(found.Search(nullptr, L".bak", false));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"d.txt.bak"));
}

TEST(FindFiles, NoFileIsInAnEmptyListOrInNone)
{
    const WatchedSearch watch;
    Tree tree;
    Found& found = tree.Search();
    const PageEdge<wchar_t> page(L"");
    for (const wchar_t* const list :
         {L"", L" ;,:", static_cast<const wchar_t*>(nullptr), static_cast<const wchar_t*>(page.Unreadable())})
    {
        EXPECT_TRUE(found.Search(nullptr, L".txt", true));
        EXPECT_TRUE(found.Search(nullptr, list, true));
        EXPECT_THAT(found.files, IsEmpty());
        EXPECT_EQ(5U, found.directories);
    }
}

TEST(FindFiles, AFileCallbackEndsTheSearchAtOnce)
{
    Tree tree;
    Found& found = tree.Search();
    const WatchedSearch watch;
    for (size_t stop = 1; stop <= 6; ++stop)
    {
        found.stopAtFile = stop;
        EXPECT_FALSE(found.Search(nullptr, L".txt", true));
        EXPECT_EQ(stop, found.files.size());
        EXPECT_EQ(0, watch.OpenSearches());
    }
    found.stopAtFile = 7;
    EXPECT_TRUE(found.Search(nullptr, L".txt", true));
    EXPECT_EQ(6U, found.files.size());
}

TEST(FindFiles, ADirectoryCallbackEndsTheSearchAtOnce)
{
    Tree tree;
    Found& found = tree.Search();
    const WatchedSearch watch;
    found.stopAtDirectory = 1;
    EXPECT_FALSE(found.Search(nullptr, L".txt", true));
    EXPECT_THAT(found.files, IsEmpty());
    EXPECT_EQ(0, watch.OpenSearches());
    found.stopAtDirectory = 3;
    EXPECT_FALSE(found.Search(nullptr, L".txt", true));
    EXPECT_EQ(3U, found.directories);
    EXPECT_EQ(0, watch.OpenSearches());
}

TEST(FindFiles, CallbacksMayBeNull)
{
    const WatchedSearch watch;
    const Tree tree;
    EXPECT_TRUE(CPath::FindFiles(tree.Path().c_str(), nullptr, L".txt", nullptr, nullptr, nullptr, true));
    Found found;
    EXPECT_TRUE(CPath::FindFiles(tree.Path().c_str(), nullptr, nullptr, nullptr, Found::OnDirectory, &found, true));
    EXPECT_EQ(5U, found.directories);
}

TEST(FindFiles, FindsNothingWhereThereIsNothing)
{
    const Tree tree;
    const PageEdge<wchar_t> page(L"");
    const std::wstring none = tree.Path() + L"\\none";
    const std::wstring file = tree.Path() + L"\\a.txt";
    Found found;
    for (const wchar_t* const directory : {none.c_str(), file.c_str(), L"", static_cast<const wchar_t*>(nullptr),
                                           static_cast<const wchar_t*>(page.Unreadable())})
    {
        EXPECT_TRUE(CPath::FindFiles(directory, nullptr, L".txt", Found::OnFile, Found::OnDirectory, &found, true));
        EXPECT_EQ(0U, found.directories);
        EXPECT_THAT(found.files, IsEmpty());
    }
}

namespace
{
struct NestedSearches
{
    std::wstring root;
    std::vector<std::wstring> outer;
    std::vector<std::wstring> own;
    std::vector<std::wstring> inherited;

    static bool Collect(const wchar_t* path, void* context)
    {
        const std::wstring text = path;
        static_cast<std::vector<std::wstring>*>(context)->push_back(text.substr(text.rfind(L'\\') + 1));
        return true;
    }
    static bool OnFile(const wchar_t* path, void* context)
    {
        auto& searches = *static_cast<NestedSearches*>(context);
        Collect(path, &searches.outer);
        if (searches.outer.size() > 1)
            return true;
        return CPath::FindFiles(searches.root.c_str(), nullptr, L".log", Collect, nullptr, &searches.own, false) &&
               CPath::FindFiles(searches.root.c_str(), nullptr, nullptr, Collect, nullptr, &searches.inherited,
                                false);
    }
};
} // namespace

TEST(FindFiles, ASearchWithinACallbackHasItsOwnListOrTheOuterOne)
{
    const Tree tree;
    NestedSearches searches;
    searches.root = tree.Path();
    EXPECT_TRUE(
        CPath::FindFiles(tree.Path().c_str(), nullptr, L".txt", NestedSearches::OnFile, nullptr, &searches, false));
    EXPECT_THAT(searches.outer, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt"));
    EXPECT_THAT(searches.own, UnorderedElementsAre(L"c.log"));
    EXPECT_THAT(searches.inherited, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt"));
    std::vector<std::wstring> afterwards;
    EXPECT_TRUE(CPath::FindFiles(tree.Path().c_str(), nullptr, nullptr, NestedSearches::Collect, nullptr, &afterwards,
                                 false));
    EXPECT_THAT(afterwards, IsEmpty());
}

TEST(FindFiles, AnExceptionOfACallbackPassesAndTheSearchIsClosed)
{
    Tree tree;
    const WatchedSearch watch;
    const auto raise = [](const wchar_t*, void*) -> bool { throw std::runtime_error("on purpose"); };
    EXPECT_THROW(CPath::FindFiles(tree.Path().c_str(), nullptr, L".log", raise, nullptr, nullptr, true),
                 std::runtime_error);
    EXPECT_EQ(0, watch.OpenSearches());
    // The list of the search that ended is gone.
    EXPECT_TRUE(tree.Search().Search(nullptr, nullptr, false));
    EXPECT_THAT(tree.Search().files, IsEmpty());
}

TEST(FindFiles, WithoutMemoryItEndsWithoutALeak)
{
    const Tree tree;
    const WatchedSearch watch;
    const auto ignore = [](const wchar_t*, void*) -> bool { return true; };
    unsigned refused = 0;
    for (unsigned n = 1;; ++n)
    {
        ASSERT_LT(n, 200U);
        AllocationProbe heap;
        const TraceCapture trace;
        const size_t before = heap.LiveBlocks();
        heap.FailRequest(n);
        const bool searched =
            CPath::FindFiles(tree.Path().c_str(), nullptr, L".txt;.log", ignore, nullptr, nullptr, true);
        heap.StopFailing();
        refused += searched ? 0 : 1;
        EXPECT_EQ(0, watch.OpenSearches()) << n;
        trace.Raw();
        if (!heap.HasFailed())
        {
            EXPECT_TRUE(searched);
            EXPECT_EQ(before, heap.LiveBlocks());
            break;
        }
    }
    EXPECT_GT(refused, 3U);
    EXPECT_TRUE(HeapIsConsistent());
}

namespace
{
// A folder with a long path and one file in it. It is made up: a test's file system may not take such a path.
struct LongFolder
{
    static inline unsigned entries = 0;
    static inline int open = 0;

    static intptr_t First(const wchar_t*, _wfinddata64_t* entry)
    {
        ++open;
        entries = 0;
        Next(1, entry);
        return 1;
    }
    static int Next(intptr_t, _wfinddata64_t* entry)
    {
        std::wmemcpy(entry->name, L"a.txt", 6);
        entry->attrib = 0;
        return ++entries == 2 ? -1 : 0;
    }
    static int Close(intptr_t)
    {
        --open;
        return 0;
    }
};
} // namespace

TEST(FindFiles, WithoutMemoryForALongPathItEnds)
{
    const Redirect<intptr_t(const wchar_t*, _wfinddata64_t*)> first("_wfindfirst64", LongFolder::First);
    const Redirect<int(intptr_t, _wfinddata64_t*)> next("_wfindnext64", LongFolder::Next);
    const Redirect<int(intptr_t)> close("_findclose", LongFolder::Close);
    static unsigned files;
    const auto onFile = [](const wchar_t* path, void*) -> bool {
        files += wcslen(path) == 300 + 6 ? 1U : 0U;
        return true;
    };
    const std::wstring folder(300, L'f');
    // The first work on the list of extensions allocates, then come the search's own strings.
    unsigned refusedEarly = 0;
    unsigned refusedAtTheFile = 0;
    for (unsigned n = 1;; ++n)
    {
        ASSERT_LT(n, 100U);
        files = 0;
        AllocationProbe heap;
        heap.FailRequest(n);
        const bool searched = CPath::FindFiles(folder.c_str(), nullptr, L".txt", onFile, nullptr, nullptr, false);
        heap.StopFailing();
        EXPECT_EQ(0, LongFolder::open);
        EXPECT_EQ(searched ? 1U : 0U, files) << n;
        refusedEarly += !searched && LongFolder::entries == 0 ? 1 : 0;
        refusedAtTheFile += !searched && LongFolder::entries == 1 ? 1 : 0;
        LongFolder::entries = 0;
        if (!heap.HasFailed())
            break;
    }
    EXPECT_GT(refusedEarly, 2U);
    EXPECT_GT(refusedAtTheFile, 0U);
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool searched = CPath::FindFiles(folder.c_str(), nullptr, nullptr, onFile, nullptr, nullptr, false);
    heap.StopFailing();
    EXPECT_FALSE(searched);
}
