#include "OrvProfiler/foundation/Path.h"

#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;

std::vector<std::wstring> Components(const CPath& path)
{
    std::vector<std::wstring> components;
    for (size_t i = 0; i < path.GetComponentCount(); ++i)
        components.emplace_back(path.Component(i));
    return components;
}

CPath Parsed(const wchar_t* text)
{
    CPath path;
    EXPECT_TRUE(path.Parse(text));
    return path;
}

// Goes back to the current directory of its construction when it goes.
class CurrentDirectory
{
public:
    CurrentDirectory() { GetCurrentDirectoryW(MAX_PATH, m_path); }
    ~CurrentDirectory() { SetCurrentDirectoryW(m_path); }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

private:
    wchar_t m_path[MAX_PATH]{};
};
} // namespace

TEST(CPath, NewPathIsCleared)
{
    const CPath path;
    EXPECT_EQ(3U, path.GetKind());
    EXPECT_EQ(0U, path.GetComponentCount());
    EXPECT_STREQ(L"", path.GetFileName());
    EXPECT_STREQ(L"", path.GetText());
    EXPECT_FALSE(path.HasFileName());
    const FileAttributeData zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &path.GetAttributeData(), sizeof zero));
}

TEST(CPath, FieldsAreInTheirOrder)
{
    CPath path;
    path.Parse(L"C:\\Dir\\a.txt");
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&path);
    uint32_t kind = 9;
    std::memcpy(&kind, bytes, sizeof kind);
    EXPECT_EQ(0U, kind);
    const size_t texts = 8 + sizeof(std::vector<TString>);
    EXPECT_EQ(&path.GetFileName(), reinterpret_cast<const TString*>(bytes + texts));
    EXPECT_EQ(&path.GetText(), reinterpret_cast<const TString*>(bytes + texts + 16));
    EXPECT_EQ(&path.GetGivenText(), reinterpret_cast<const TString*>(bytes + texts + 32));
    EXPECT_EQ(&path.GetAttributeData(), reinterpret_cast<const FileAttributeData*>(bytes + texts + 48));
    static_assert(sizeof(FileAttributeData) == 36, "");
}

TEST(CPath, ParsesTexts)
{
    struct Case
    {
        const wchar_t* given;
        uint32_t kind;
        std::vector<std::wstring> components;
        const wchar_t* fileName;
        const wchar_t* text;
    };
    for (const Case& example : std::vector<Case>{
             // Drive paths.
             {L"C:\\Dir\\Sub", 0, {L"c:", L"dir", L"sub"}, L"", L"c:\\dir\\sub"},
             {L"C:\\Dir\\A.TXT", 0, {L"c:", L"dir", L"a.txt"}, L"a.txt", L"c:\\dir\\a.txt"},
             {L"c:\\a.tar.gz", 0, {L"c:", L"a.tar.gz"}, L"a.tar.gz", L"c:\\a.tar.gz"},
             {L"c:\\dir.d\\", 0, {L"c:", L"dir.d"}, L"", L"c:\\dir.d"},
             {L"c:\\dir.d\\.", 0, {L"c:", L"dir.d"}, L"", L"c:\\dir.d"},
             {L"c:\\dir.d\\x\\..", 0, {L"c:", L"dir.d"}, L"", L"c:\\dir.d"},
             {L"c:\\.hidden", 0, {L"c:", L".hidden"}, L"", L"c:\\.hidden"},
             {L"c:\\ends.", 0, {L"c:", L"ends."}, L"", L"c:\\ends."},
             {L"c:", 0, {L"c:"}, L"", L"c:"},
             {L"c:\\", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:\\\\\\", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:\\.", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:a.txt", 0, {L"c:a.txt"}, L"", L"c:a.txt"},
             {L"c:\\a\\.\\b", 0, {L"c:", L"a", L"b"}, L"", L"c:\\a\\b"},
             {L"c:\\a\\..\\b", 0, {L"c:", L"b"}, L"", L"c:\\b"},
             {L"c:\\a\\b\\..\\..\\c", 0, {L"c:", L"c"}, L"", L"c:\\c"},
             {L"c:\\..\\..\\a", 0, {L"c:", L"a"}, L"", L"c:\\a"},
             {L"c:\\a\\..", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:\\a\\...\\b", 0, {L"c:", L"a", L"...", L"b"}, L"", L"c:\\a\\...\\b"},
             {L"c:\\\\a\\\\\\b\\\\", 0, {L"c:", L"a", L"b"}, L"", L"c:\\a\\b"},
             {L"c:/Dir/a.txt", 0, {L"c:", L"dir", L"a.txt"}, L"a.txt", L"c:\\dir\\a.txt"},
             {L"\\c:\\a", 0, {L"c:", L"a"}, L"", L"c:\\a"},
             {L"\\\\?\\C:\\Dir", 0, {L"c:", L"dir"}, L"", L"c:\\dir"},
             {L"//?/C:/Dir", 0, {L"c:", L"dir"}, L"", L"c:\\dir"},
             // Network paths.
             {L"\\\\Srv\\Share", 1, {L"srv", L"share"}, L"", L"\\\\srv\\share"},
             {L"\\\\srv.net\\share.d", 1, {L"srv.net", L"share.d"}, L"", L"\\\\srv.net\\share.d"},
             {L"\\\\srv\\share\\a.txt", 1, {L"srv", L"share", L"a.txt"}, L"a.txt", L"\\\\srv\\share\\a.txt"},
             {L"\\\\srv\\share\\a\\", 1, {L"srv", L"share", L"a"}, L"", L"\\\\srv\\share\\a"},
             {L"\\\\srv\\\\share\\.\\a", 1, {L"srv", L"share", L"a"}, L"", L"\\\\srv\\share\\a"},
             {L"\\\\srv\\share\\a\\..", 1, {L"srv", L"share", L"a", L".."}, L"", L"\\\\srv\\share\\a\\.."},
             {L"//srv/share", 1, {L"srv", L"share"}, L"", L"\\\\srv\\share"},
             {L"\\\\?\\UNC\\srv\\share", 1, {L"srv", L"share"}, L"", L"\\\\srv\\share"},
             {L"\\\\?\\unc\\srv", 1, {L"srv"}, L"", L"\\\\srv"},
             {L"//?/UNC/srv", 1, {L"srv"}, L"", L"\\\\srv"},
             {L"\\\\.\\pipe\\x", 1, {L".", L"pipe", L"x"}, L"", L"\\\\.\\pipe\\x"},
             {L"\\\\srv\\share\\f:stream", 1, {L"srv", L"share", L"f:stream"}, L"", L"\\\\srv\\share\\f:stream"},
             {L"\\\\", 1, {}, L"", L"\\\\"},
             {L"\\\\\\", 1, {}, L"", L"\\\\"},
             // Relative paths.
             {L".", 2, {}, L"", L"."},
             {L".\\", 2, {}, L"", L"."},
             {L".\\.\\.", 2, {}, L"", L"."},
             {L".\\a.txt", 2, {L"a.txt"}, L"a.txt", L"a.txt"},
             {L"Dir\\Sub", 2, {L"dir", L"sub"}, L"", L"dir\\sub"},
             {L"dir\\", 2, {L"dir"}, L"", L"dir"},
             {L"..\\a", 2, {L"..", L"a"}, L"", L"..\\a"},
             {L"..\\", 2, {L".."}, L"", L".."},
             {L"a\\..\\b", 2, {L"a", L"..", L"b"}, L"", L"a\\..\\b"},
             {L"\\dir\\f.c", 2, {L"", L"dir", L"f.c"}, L"f.c", L"\\dir\\f.c"},
             {L"\\", 2, {L""}, L"", L"\\"},
             {L"/", 2, {L""}, L"", L"\\"},
             // Bare names and nothing.
             {L"Name", 3, {}, L"name", L"name"},
             {L"A.TXT", 3, {}, L"a.txt", L"a.txt"},
             {L"..", 3, {}, L"..", L".."},
             {L" ", 3, {}, L" ", L" "},
             {L"", 3, {}, L"", L""},
             {L"\\\\?\\", 3, {}, L"", L""},
             {nullptr, 3, {}, L"", L""},
         })
    {
        SCOPED_TRACE(example.given != nullptr ? example.given : L"(null)");
        const CPath path = Parsed(example.given);
        EXPECT_EQ(example.kind, path.GetKind());
        EXPECT_EQ(example.components, Components(path));
        EXPECT_STREQ(example.fileName, path.GetFileName());
        EXPECT_EQ(*example.fileName != L'\0', path.HasFileName());
        EXPECT_STREQ(example.text, path.GetText());
        EXPECT_STREQ(example.given != nullptr ? example.given : L"", path.GetGivenText());
        // A path's text parses to the same path.
        const CPath again = Parsed(path.GetText());
        EXPECT_STREQ(example.text, again.GetText());
        // Except for a relative path of one component, whose text is a bare name.
        const bool readsAsName =
            wcschr(example.text, L'\\') == nullptr && example.components.size() == 1 && path.GetKind() == 2;
        EXPECT_EQ(readsAsName ? 3U : example.kind, again.GetKind());
        EXPECT_EQ(!readsAsName, again.Equals(path));
    }
}

TEST(CPath, LowersOnlyAsciiLetters)
{
    EXPECT_STREQ(L"c:\\\x00C4z", Parsed(L"C:\\\x00C4Z").GetText());
}

TEST(CPath, ParsesItsOwnTextsAgain)
{
    CPath path = Parsed(L"C:\\Dir\\Name.txt");
    EXPECT_TRUE(path.Parse(path.GetGivenText()));
    EXPECT_STREQ(L"c:\\dir\\name.txt", path.GetText());
    EXPECT_TRUE(path.Parse(path.GetFileName()));
    EXPECT_STREQ(L"name.txt", path.GetText());
    EXPECT_EQ(3U, path.GetKind());
    EXPECT_EQ(0U, path.GetComponentCount());
}

TEST(CPath, ParsesTextsOfAnyLength)
{
    std::wstring text = L"c:";
    std::vector<std::wstring> components = {L"c:"};
    for (int i = 0; i < 1000; ++i)
    {
        components.push_back(L"folder" + std::to_wstring(i));
        text += L"\\" + components.back();
    }
    const CPath path = Parsed(text.c_str());
    EXPECT_EQ(components, Components(path));
    EXPECT_EQ(text, path.GetText().GetBuffer());
}

TEST(CPath, ClearForgetsEverything)
{
    const TemporaryFolder folder;
    CPath path = Parsed(folder.MakeFile(L"a.txt", 5).c_str());
    ASSERT_TRUE(path.Attributes());
    path.Clear();
    EXPECT_EQ(3U, path.GetKind());
    EXPECT_EQ(0U, path.GetComponentCount());
    EXPECT_FALSE(path.HasFileName());
    EXPECT_STREQ(L"", path.GetText());
    EXPECT_STREQ(L"", path.GetGivenText());
    const FileAttributeData zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &path.GetAttributeData(), sizeof zero));
    EXPECT_FALSE(path.Attributes());
}

TEST(CPath, ParsingWithoutMemoryClearsThePath)
{
    struct Case
    {
        std::wstring text;
        std::wstring result;
        std::wstring fileName;
    };
    const std::wstring longName(400, L'n');
    for (const auto& [text, result, fileName] : {
             Case{L"\\\\?\\UNC\\srv\\share\\new.txt", L"\\\\srv\\share\\new.txt", L"new.txt"},
             Case{L"\\dir\\new.txt", L"\\dir\\new.txt", L"new.txt"},
             Case{L"\\\\?\\name", L"name", L"name"},
             Case{longName, longName, longName},
             Case{L"\\\\?\\UNC\\srv\\share\\" + longName + L".txt", L"\\\\srv\\share\\" + longName + L".txt",
                  longName + L".txt"},
         })
    {
        unsigned refused = 0;
        for (unsigned n = 1;; ++n)
        {
            ASSERT_LT(n, 200U);
            CPath path = Parsed(L"c:\\a.txt");
            AllocationProbe heap;
            heap.FailRequest(n);
            const bool parsed = path.Parse(text.c_str());
            heap.StopFailing();
            refused += parsed ? 0 : 1;
            // A string that could not grow has no buffer and counts as empty.
            EXPECT_EQ(!parsed, path.GetText().IsEmpty()) << n;
            EXPECT_EQ(!parsed, path.GetFileName().IsEmpty()) << n;
            if (parsed)
            {
                EXPECT_STREQ(result.c_str(), path.GetText()) << n;
                EXPECT_STREQ(fileName.c_str(), path.GetFileName()) << n;
                EXPECT_STREQ(text.c_str(), path.GetGivenText()) << n;
            }
            EXPECT_EQ(parsed || path.GetComponentCount() == 0, true) << n;
            if (!heap.HasFailed())
                break;
        }
        // A later request may make up for a string's; a bare name needs strings only.
        EXPECT_TRUE(refused > 0 || result == L"name");
    }
    EXPECT_TRUE(HeapIsConsistent());
}

TEST(CPath, APartWithoutMemoryClearsThePath)
{
    // The list of components, with room for the parts and one more, comes before the copies of the parts.
    constexpr size_t listBytes = 3 * sizeof(TString);
    std::vector<size_t> requests;
    {
        CPath path;
        const AllocationProbe heap;
        path.Parse(L"c:\\dir");
        requests = heap.Requests();
    }
    const auto list = std::find(requests.begin(), requests.end(), listBytes);
    ASSERT_NE(requests.end(), list);
    for (auto request = list + 1; request != requests.end(); ++request)
    {
        CPath path;
        AllocationProbe heap;
        heap.FailFrom(static_cast<unsigned>(request - requests.begin()) + 1);
        const bool parsed = path.Parse(L"c:\\dir");
        heap.StopFailing();
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_FALSE(parsed);
        EXPECT_EQ(0U, path.GetComponentCount());
        EXPECT_STREQ(L"", path.GetText());
    }
}

TEST(CPath, AppendingWithoutMemoryClearsThePath)
{
    CPath path = Parsed(L"c:\\dir");
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool appended = path.Append(L"sub");
    heap.StopFailing();
    EXPECT_FALSE(appended);
    EXPECT_STREQ(L"", path.GetText());
    EXPECT_EQ(0U, path.GetComponentCount());
}

TEST(CPath, JoinsItsComponents)
{
    EXPECT_STREQ(L"c:\\a\\b.txt", Parsed(L"c:\\a\\b.txt").Join());
    EXPECT_STREQ(L"\\\\srv\\share", Parsed(L"\\\\srv\\share\\").Join());
    EXPECT_STREQ(L"a\\b", Parsed(L"a\\b").Join());
    EXPECT_STREQ(L"\\a", Parsed(L"\\a").Join());
    EXPECT_STREQ(L"c:", Parsed(L"c:\\").Join());
    EXPECT_STREQ(L"", Parsed(L".").Join());
    EXPECT_STREQ(L"", Parsed(L"name").Join());
    EXPECT_STREQ(L"", CPath().Join());
}

TEST(CPath, AppendsNamesAndPaths)
{
    struct Case
    {
        const wchar_t* path;
        const wchar_t* name;
        uint32_t kind;
        const wchar_t* fileName;
        const wchar_t* text;
    };
    for (const Case& example : {
             Case{L"c:\\dir", L"Sub", 0, L"", L"c:\\dir\\sub"},
             {L"c:\\dir", L"a.txt", 0, L"a.txt", L"c:\\dir\\a.txt"},
             {L"c:\\dir\\", L"\\sub\\", 0, L"", L"c:\\dir\\sub"},
             {L"c:\\", L"sub", 0, L"", L"c:\\sub"},
             {L"c:", L"sub", 0, L"", L"c:\\sub"},
             {L"c:\\dir", L"..", 0, L"", L"c:\\"},
             {L"c:\\dir", L"..\\x\\y", 0, L"", L"c:\\x\\y"},
             {L"c:\\dir", L"", 0, L"", L"c:\\dir"},
             {L"c:\\dir\\a.txt", L"b", 0, L"", L"c:\\dir\\a.txt\\b"},
             {L"\\\\srv\\share", L"f.c", 1, L"f.c", L"\\\\srv\\share\\f.c"},
             {L"dir", L"a", 2, L"", L"dir\\a"},
             {L".", L"a", 2, L"", L"a"},
             {L"\\", L"a", 2, L"", L"\\a"},
             {L"..\\x", L"..", 2, L"", L"..\\x\\.."},
             {L"", L"a.txt", 2, L"a.txt", L"\\a.txt"},
             {L"", L"c:\\a", 0, L"", L"c:\\a"},
             {L"", L"\\srv\\share", 1, L"", L"\\\\srv\\share"},
             {L"", L"", 2, L"", L"\\"},
         })
    {
        SCOPED_TRACE(std::wstring(example.path) + L" and " + example.name);
        CPath byName = Parsed(example.path);
        EXPECT_TRUE(byName.Append(example.name));
        EXPECT_EQ(example.kind, byName.GetKind());
        EXPECT_STREQ(example.fileName, byName.GetFileName());
        EXPECT_STREQ(example.text, byName.GetText());
    }
    CPath path = Parsed(L"c:\\dir");
    EXPECT_TRUE(path.Append(Parsed(L"Sub\\.\\deep")));
    EXPECT_STREQ(L"c:\\dir\\sub\\deep", path.GetText());
    EXPECT_TRUE(path.Append(static_cast<const wchar_t*>(nullptr)));
    EXPECT_STREQ(L"c:\\dir\\sub\\deep", path.GetText());
    CPath twice = Parsed(L"a\\b");
    EXPECT_TRUE(twice.Append(twice));
    EXPECT_STREQ(L"a\\b\\a\\b", twice.GetText());
}

TEST(CPath, EqualPathsHaveEqualComponents)
{
    struct Case
    {
        const wchar_t* left;
        const wchar_t* right;
        bool equal;
    };
    for (const Case& example : {
             Case{L"C:\\Dir\\f.txt", L"c:/dir//F.TXT", true},
             {L"c:\\a\\x\\..\\b", L"c:\\a\\b", true},
             {L"c:\\", L"c:", true},
             {L"c:\\a", L"c:\\a\\b", false},
             {L"c:\\a.txt", L"c:\\b.txt", false},
             {L"c:\\a", L"d:\\a", false},
             {L"\\\\srv\\share", L"\\\\SRV\\share\\", true},
             {L"name", L"name", true},
             {L"Name", L"nAME", true},
             {L"name", L"other", false},
             {L"\x00C4", L"\x00E4", false},
             {L"name", L"c:\\name", false},
             {L"name", L".\\name", false},
             {L"", L"", true},
             {L"", L"name", false},
             {L"", L"c:", false},
             {L".", L"", true},
         })
    {
        SCOPED_TRACE(std::wstring(example.left) + L" and " + example.right);
        EXPECT_EQ(example.equal, Parsed(example.left).Equals(Parsed(example.right)));
        EXPECT_EQ(example.equal, Parsed(example.right).Equals(Parsed(example.left)));
    }
}

TEST(CPath, APathIsWithinWhatItBeginsWith)
{
    struct Case
    {
        const wchar_t* path;
        const wchar_t* other;
        bool within;
    };
    for (const Case& example : {
             Case{L"c:\\a\\b", L"C:\\A", true},
             {L"c:\\a\\b", L"c:\\a\\b", true},
             {L"c:\\a\\b", L"c:\\", true},
             {L"c:\\a", L"c:\\a\\b", false},
             {L"c:\\ab", L"c:\\a", false},
             {L"c:\\b\\a", L"c:\\a", false},
             {L"\\\\srv\\share\\f", L"\\\\srv\\share", true},
             {L"name", L"name", true},
             {L"name", L"other", false},
             {L"c:\\a", L"", false},
             {L"", L"c:\\a", false},
             {L"", L"", true},
         })
        EXPECT_EQ(example.within, Parsed(example.path).IsWithin(Parsed(example.other)))
            << example.path << L" " << example.other;
}

TEST(CPath, OrdersByText)
{
    EXPECT_TRUE(Parsed(L"c:\\a").Less(Parsed(L"c:\\b")));
    EXPECT_FALSE(Parsed(L"c:\\b").Less(Parsed(L"c:\\a")));
    EXPECT_TRUE(Parsed(L"c:\\a").Less(Parsed(L"C:\\A\\b")));
    EXPECT_FALSE(Parsed(L"c:\\a").Less(Parsed(L"C:\\A")));
    EXPECT_FALSE(CPath().Less(Parsed(L"c:\\a")));
    EXPECT_FALSE(Parsed(L"c:\\a").Less(CPath()));
}

TEST(CPath, ComponentsBeyondTheLastAreEmpty)
{
    const CPath path = Parsed(L"c:\\a");
    EXPECT_STREQ(L"c:", path.Component(0));
    EXPECT_STREQ(L"a", path.Component(1));
    EXPECT_STREQ(L"", path.Component(2));
    EXPECT_STREQ(L"", path.Component(SIZE_MAX));
    EXPECT_STREQ(L"", CPath().Component(0));
}

TEST(CPath, ChecksTheDotsOfAllComponentsButTheLast)
{
    struct Case
    {
        const wchar_t* text;
        bool wrong;
    };
    for (const Case& example : {
             Case{L"", true},
             {L"name", true},
             {L".", true},
             {L"dir\\f", false},
             {L"..\\..\\f", false},
             {L"a\\..\\f", true},
             {L"a.b\\f", false},
             {L"c:\\a.b\\f", true},
             {L"c:\\a\\b.c", false},
             {L"...\\f", true},
             {L"a...", true},
             {L"a\\...", false},
             {L"a.b.c\\f", false},
             {L"a.b.c.d\\f", true},
             {L"..\\a\\b\\f", false},
             {L"..\\a\\.b\\f", true},
         })
        EXPECT_EQ(example.wrong, Parsed(example.text).CheckDots()) << example.text;
}

TEST(CPath, CopiesStandAlone)
{
    CPath path = Parsed(L"c:\\dir\\a.txt");
    CPath copy(path);
    path.Clear();
    EXPECT_STREQ(L"c:\\dir\\a.txt", copy.GetText());
    EXPECT_THAT(Components(copy), ElementsAre(L"c:", L"dir", L"a.txt"));
    path = copy;
    copy.Clear();
    EXPECT_TRUE(path.Equals(Parsed(L"c:\\dir\\a.txt")));
}

TEST(CPath, TakesTheCurrentDirectory)
{
    const CurrentDirectory back;
    const TemporaryFolder folder;
    ASSERT_TRUE(SetCurrentDirectoryW(folder.Path().c_str()));
    CPath path = Parsed(L"name");
    EXPECT_TRUE(path.FromCurrentDirectory());
    EXPECT_EQ(0U, path.GetKind());
    EXPECT_TRUE(path.Equals(Parsed(folder.Path().c_str())));
    EXPECT_TRUE(path.IsDirectory());
}

TEST(CPath, MakesItselfTheCurrentDirectory)
{
    const CurrentDirectory back;
    const TemporaryFolder folder;
    const CPath target = Parsed(folder.MakeFolder(L"sub").c_str());
    EXPECT_TRUE(target.MakeCurrent());
    CPath current;
    EXPECT_TRUE(current.FromCurrentDirectory());
    EXPECT_TRUE(current.Equals(target));
    EXPECT_FALSE(Parsed((folder.Path() + L"\\none").c_str()).MakeCurrent());
    EXPECT_FALSE(CPath().MakeCurrent());
    EXPECT_TRUE(current.FromCurrentDirectory());
    EXPECT_TRUE(current.Equals(target));
    EXPECT_TRUE(Parsed(L"C:\\").MakeCurrent());
    EXPECT_TRUE(current.FromCurrentDirectory());
    EXPECT_STREQ(L"c:\\", current.GetText());
    ASSERT_TRUE(target.MakeCurrent());
}

namespace
{
// What GetCurrentDirectoryW answers, and GetLongPathNameW for it.
struct DirectoryAnswers
{
    static inline std::wstring directory;
    static inline std::wstring longForm;
    static inline bool asExpected = true;

    static DWORD WINAPI Current(DWORD units, wchar_t* buffer) { return Answer(directory, units, buffer); }
    static DWORD WINAPI Long(const wchar_t* path, wchar_t* buffer, DWORD units)
    {
        asExpected = asExpected && path == directory;
        return longForm.empty() ? 0 : Answer(longForm, units, buffer);
    }
    static DWORD Answer(const std::wstring& text, DWORD units, wchar_t* buffer)
    {
        asExpected = asExpected && units == 260;
        if (text.size() + 1 > units)
            return static_cast<DWORD>(text.size() + 1);
        std::wmemcpy(buffer, text.c_str(), text.size() + 1);
        return static_cast<DWORD>(text.size());
    }
};
} // namespace

TEST(CPath, TheCurrentDirectoryIsTakenInItsLongForm)
{
    const std::wstring longest = L"c:\\" + std::wstring(256, L'd');
    struct Case
    {
        std::wstring directory;
        std::wstring longForm;
        bool taken;
        std::wstring text;
    };
    const Redirect<decltype(GetCurrentDirectoryW)> current("GetCurrentDirectoryW", DirectoryAnswers::Current);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", DirectoryAnswers::Long);
    for (const Case& example : std::vector<Case>{
             {L"C:\\Progra~1\\x", L"C:\\Program Files\\x", true, L"c:\\program files\\x"},
             {L"C:\\Progra~1\\x", L"", true, L"c:\\progra~1\\x"},
             {L"C:\\Progra~1\\x", longest + L"d", true, L"c:\\progra~1\\x"},
             {L"C:\\Progra~1\\x", longest, true, longest},
             {L"C:\\plain", L"C:\\never asked for", true, L"c:\\plain"},
             {longest, L"", true, longest},
             {longest + L"d", L"", false, L""},
             {L"", L"", false, L""},
         })
    {
        DirectoryAnswers::directory = example.directory;
        DirectoryAnswers::longForm = example.longForm;
        CPath path = Parsed(L"c:\\old");
        EXPECT_EQ(example.taken, path.FromCurrentDirectory());
        EXPECT_EQ(example.text, path.GetText().GetBuffer());
        EXPECT_TRUE(DirectoryAnswers::asExpected);
    }
}

TEST(CPath, TheCurrentDirectoryWithoutMemoryIsNone)
{
    for (unsigned n = 1; n <= 3; ++n)
    {
        CPath path = Parsed(L"c:\\old");
        AllocationProbe heap;
        heap.FailFrom(n);
        const bool taken = path.FromCurrentDirectory();
        heap.StopFailing();
        EXPECT_FALSE(taken);
        EXPECT_STREQ(L"", path.GetText());
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(CPath, TheCurrentDirectoryIsTakenAsItIsWithoutMemoryForItsLongForm)
{
    const Redirect<decltype(GetCurrentDirectoryW)> current("GetCurrentDirectoryW", DirectoryAnswers::Current);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", DirectoryAnswers::Long);
    DirectoryAnswers::directory = L"C:\\Progra~1\\x";
    DirectoryAnswers::longForm = L"C:\\Program Files\\x";
    CPath path;
    AllocationProbe heap;
    heap.FailRequest(2);
    const bool taken = path.FromCurrentDirectory();
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_TRUE(taken);
    EXPECT_STREQ(L"c:\\progra~1\\x", path.GetText());
}

TEST(CPath, TellsWhatExists)
{
    const TemporaryFolder folder;
    const PageEdge<wchar_t> page(L"");
    EXPECT_TRUE(CPath::Exists(folder.Path().c_str()));
    EXPECT_TRUE(CPath::Exists(folder.MakeFile(L"a.txt").c_str()));
    EXPECT_FALSE(CPath::Exists((folder.Path() + L"\\none").c_str()));
    EXPECT_FALSE(CPath::Exists((folder.Path() + L"\\none\\at all").c_str()));
    EXPECT_FALSE(CPath::Exists(L""));
    EXPECT_FALSE(CPath::Exists(nullptr));
    EXPECT_FALSE(CPath::Exists(page.Unreadable()));
}

TEST(CPath, WhatCannotBeToldExists)
{
    // The C runtime answers "invalid argument" for names that no file can have, not "no such file".
    EXPECT_TRUE(CPath::Exists(L"c:\\a|b"));
    EXPECT_TRUE(CPath::Exists(L"?:\\x"));
}

TEST(CPath, CreatesAFolder)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.Path() + L"\\new";
    EXPECT_TRUE(CPath::CreateDir(path.c_str()));
    EXPECT_TRUE(Parsed(path.c_str()).IsDirectory());
    EXPECT_FALSE(CPath::CreateDir(path.c_str()));
    const CurrentDirectory back;
    ASSERT_TRUE(SetCurrentDirectoryW(path.c_str()));
    EXPECT_FALSE(CPath::Exists(L"x"));
    EXPECT_TRUE(CPath::CreateDir(L"x"));
    EXPECT_TRUE(CPath::Exists(L"x"));
    EXPECT_FALSE(CPath::CreateDir((folder.Path() + L"\\none\\new").c_str()));
    EXPECT_FALSE(CPath::CreateDir(L""));
    EXPECT_FALSE(CPath::CreateDir(nullptr));
}

TEST(CPath, ReadsTheAttributesOfAFile)
{
    const TemporaryFolder folder;
    CPath file = Parsed(folder.MakeFile(L"a.txt", 1234).c_str());
    EXPECT_TRUE(file.Attributes());
    EXPECT_EQ(1234U, file.GetAttributeData().sizeLow);
    EXPECT_EQ(0U, file.GetAttributeData().sizeHigh);
    EXPECT_FALSE(file.IsDirectory());
    CPath directory = Parsed(folder.Path().c_str());
    EXPECT_TRUE(directory.IsDirectory());
    EXPECT_EQ(0x10U, directory.GetAttributeData().attributes & 0x10U);
    EXPECT_TRUE(Parsed(L"C:\\").IsDirectory());
    CPath none = Parsed((folder.Path() + L"\\none").c_str());
    EXPECT_FALSE(none.Attributes());
    EXPECT_FALSE(none.IsDirectory());
    const FileAttributeData zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &none.GetAttributeData(), sizeof zero));
}

namespace
{
// A file as the system describes it to a query, and the name that was asked for.
struct AttributeAnswers
{
    static inline WIN32_FILE_ATTRIBUTE_DATA data{};
    static inline BOOL result = TRUE;
    static inline std::wstring name;
    static inline unsigned calls = 0;
    static inline bool standardLevel = true;

    static BOOL WINAPI Query(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* answer)
    {
        ++calls;
        name = path;
        standardLevel = level == GetFileExInfoStandard;
        if (result != FALSE)
            std::memcpy(answer, &data, sizeof data);
        return result;
    }
    static void Reset()
    {
        data = {};
        result = TRUE;
        name.clear();
        calls = 0;
    }
};

// The file time of the given hour of 2 January 2001.
FILETIME TimeAt(WORD hour)
{
    SYSTEMTIME time{};
    time.wYear = 2001;
    time.wMonth = 1;
    time.wDay = 2;
    time.wHour = hour;
    FILETIME result{};
    SystemTimeToFileTime(&time, &result);
    return result;
}

bool IsTime(const FileTime& time, WORD hour)
{
    const FILETIME expected = TimeAt(hour);
    return time.low == expected.dwLowDateTime && time.high == expected.dwHighDateTime;
}

BOOL WINAPI ThreeHoursLater(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local)
{
    *local = *utc;
    local->wHour = static_cast<WORD>(utc->wHour + 3);
    return zone == nullptr ? TRUE : FALSE;
}

BOOL WINAPI InGreenwich(const TIME_ZONE_INFORMATION*, const SYSTEMTIME* utc, SYSTEMTIME* local)
{
    *local = *utc;
    return TRUE;
}
} // namespace

TEST(CPath, AsksForAttributesByTheLongPathName)
{
    AttributeAnswers::Reset();
    AttributeAnswers::result = FALSE;
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    struct Case
    {
        const wchar_t* text;
        const wchar_t* name;
    };
    for (const Case& example : {
             Case{L"C:\\Dir\\F.txt", L"\\\\?\\c:\\dir\\f.txt"},
             {L"C:\\", L"\\\\?\\c:\\"},
             {L"\\\\Srv\\Share\\F", L"\\\\?\\UNC\\srv\\share\\f"},
             {L"dir\\f", L"\\\\?\\dir\\f"},
             {L"name", L"\\\\?\\name"},
         })
    {
        EXPECT_FALSE(Parsed(example.text).Attributes());
        EXPECT_EQ(example.name, AttributeAnswers::name);
        EXPECT_TRUE(AttributeAnswers::standardLevel);
    }
    EXPECT_EQ(5U, AttributeAnswers::calls);
    EXPECT_FALSE(CPath().Attributes());
    EXPECT_EQ(5U, AttributeAnswers::calls);
}

TEST(CPath, AttributeTimesAreLocal)
{
    AttributeAnswers::Reset();
    AttributeAnswers::data = {0x21, TimeAt(1), TimeAt(2), TimeAt(3), 5, 6};
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    const Redirect<decltype(SystemTimeToTzSpecificLocalTime)> zone("SystemTimeToTzSpecificLocalTime",
                                                                   ThreeHoursLater);
    CPath path = Parsed(L"c:\\any");
    EXPECT_TRUE(path.Attributes());
    const FileAttributeData& data = path.GetAttributeData();
    EXPECT_EQ(0x21U, data.attributes);
    EXPECT_TRUE(IsTime(data.creation, 4));
    EXPECT_TRUE(IsTime(data.lastAccess, 5));
    EXPECT_TRUE(IsTime(data.lastWrite, 6));
    EXPECT_EQ(5U, data.sizeHigh);
    EXPECT_EQ(6U, data.sizeLow);
}

TEST(CPath, ATimeThatCannotBeConvertedStays)
{
    AttributeAnswers::Reset();
    AttributeAnswers::data = {0x21, TimeAt(1), TimeAt(2), TimeAt(3), 5, 6};
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    const Redirect<decltype(SystemTimeToTzSpecificLocalTime)> zone("SystemTimeToTzSpecificLocalTime",
                                                                   ThreeHoursLater);
    const auto isUnconverted = [] {
        CPath path = Parsed(L"c:\\any");
        EXPECT_TRUE(path.Attributes());
        return IsTime(path.GetAttributeData().creation, 1) && IsTime(path.GetAttributeData().lastWrite, 3);
    };
    EXPECT_FALSE(isUnconverted());
    {
        const FailingCall<decltype(FileTimeToSystemTime)> call("FileTimeToSystemTime", ERROR_INVALID_PARAMETER);
        EXPECT_TRUE(isUnconverted());
        EXPECT_EQ(3U, call.Calls().size());
    }
    {
        const FailingCall<decltype(SystemTimeToTzSpecificLocalTime)> call("SystemTimeToTzSpecificLocalTime",
                                                                          ERROR_INVALID_PARAMETER);
        EXPECT_TRUE(isUnconverted());
        EXPECT_EQ(3U, call.Calls().size());
    }
    {
        const FailingCall<decltype(SystemTimeToFileTime)> call("SystemTimeToFileTime", ERROR_INVALID_PARAMETER);
        CPath path = Parsed(L"c:\\any");
        EXPECT_TRUE(path.Attributes());
        EXPECT_EQ(AttributeAnswers::data.ftCreationTime.dwLowDateTime, path.GetAttributeData().creation.low);
        EXPECT_EQ(3U, call.Calls().size());
    }
}

TEST(CPath, KnownAttributesAreNotAskedForAgain)
{
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    // Elsewhere no time at all, which the system tells as 0, can become a local one.
    const Redirect<decltype(SystemTimeToTzSpecificLocalTime)> zone("SystemTimeToTzSpecificLocalTime", InGreenwich);
    struct Case
    {
        WIN32_FILE_ATTRIBUTE_DATA data;
        unsigned calls;
    };
    const FILETIME none{};
    for (const Case& example : {
             Case{{0x10, TimeAt(1), none, none, 0, 0}, 1},
             {{0x20, none, none, none, 0, 7}, 1},
             {{0x20, none, none, none, 7, 0}, 1},
             // Without a creation time and a size nothing is known.
             {{0x10, none, TimeAt(1), TimeAt(1), 0, 0}, 2},
         })
    {
        AttributeAnswers::Reset();
        AttributeAnswers::data = example.data;
        CPath path = Parsed(L"c:\\any");
        EXPECT_TRUE(path.Attributes());
        EXPECT_TRUE(path.Attributes());
        EXPECT_EQ(example.calls, AttributeAnswers::calls);
        EXPECT_TRUE(path.Parse(L"c:\\other"));
        EXPECT_TRUE(path.Attributes());
        EXPECT_EQ(example.calls + 1, AttributeAnswers::calls);
    }
}

TEST(CPath, AttributesWithoutMemoryAreUnknown)
{
    const TemporaryFolder folder;
    CPath path = Parsed(folder.MakeFile(std::wstring(200, L'n') + L".txt", 5).c_str());
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool known = path.Attributes();
    heap.StopFailing();
    EXPECT_FALSE(known);
    EXPECT_TRUE(path.Attributes());
}
