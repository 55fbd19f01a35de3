#include "tests/faults/FaultScenario.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <iterator>
#include <set>
#include <stdexcept>

// Whether the tables know every system function that the product calls.

namespace
{
// Functions that cannot fail, or whose failures are tested elsewhere.
constexpr struct
{
    const char* function;
    const char* reason;
} c_withoutRow[] = {
    {"GetCurrentProcess", "a constant"},
    {"GetCurrentProcessId", "reads the process's own data"},
    {"GetCurrentThreadId", "reads the thread's own data"},
    {"GetLastError", "reads the thread's own data"},
    {"SetLastError", "writes the thread's own data"},
    {"GetNativeSystemInfo", "has no failure"},
    {"VerSetConditionMask", "computes"},
    {"TerminateProcess", "ends the process that calls it; see GuardedCallTest.cpp"},
    {"RtlUnwindEx", "does not return"},
    {"QueryPerformanceCounter", "never fails since Windows XP"},
    {"QueryPerformanceFrequency", "never fails since Windows XP"},
    {"OutputDebugStringW", "has no result"},
    {"InitializeCriticalSection", "has no result; what it raises is told in ThreadLockTest.cpp"},
    {"EnterCriticalSection", "has no result"},
    {"LeaveCriticalSection", "has no result"},
    {"DeleteCriticalSection", "has no result"},
    {"PeekMessageW", "says whether there is a message"},
    {"TranslateMessage", "says whether it has translated"},
    {"DispatchMessageW", "answers what the window answers"},
    {"IsBadStringPtrA", "says whether a text can be read"},
    {"IsBadStringPtrW", "says whether a text can be read"},
    {"_vscwprintf", "fails for malformed formats alone; see TraceTest.cpp"},
    {"_vsnwprintf_s", "fails for malformed formats alone; see TraceTest.cpp"},
    {"_stricmp", "compares"},
    {"_wcsicmp", "compares"},
    {"_wcsnicmp", "compares"},
    {"strcmp", "compares"},
    {"strlen", "computes"},
    {"wcschr", "searches"},
    {"wcscmp", "compares"},
    {"wcslen", "computes"},
    {"wcsnlen", "computes"},
    {"wcsrchr", "searches"},
    {"wcsspn", "searches"},
    {"iswalnum", "classifies"},
    {"memcpy", "copies"},
    {"memmove", "copies"},
    {"memset", "fills"},
    {"free", "has no result"},
    {"malloc", "see the tests without memory"},
    {"realloc", "see the tests without memory"},
};

template <class Value>
Value ReadAt(const std::string& bytes, size_t offset)
{
    Value value{};
    if (offset > bytes.size() || bytes.size() - offset < sizeof value)
        throw std::runtime_error("a library ends too early");
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// The symbols of an object file: those that it defines and those that it needs.
struct Symbols
{
    std::set<std::string> defined;
    std::set<std::string> needed;
};

void ReadObject(const std::string& object, Symbols& symbols)
{
    const auto header = ReadAt<IMAGE_FILE_HEADER>(object, 0);
    const size_t strings = header.PointerToSymbolTable + size_t{header.NumberOfSymbols} * IMAGE_SIZEOF_SYMBOL;
    for (DWORD i = 0; i < header.NumberOfSymbols; ++i)
    {
        const size_t at = header.PointerToSymbolTable + size_t{i} * IMAGE_SIZEOF_SYMBOL;
        const auto symbol = ReadAt<IMAGE_SYMBOL>(object, at);
        i += symbol.NumberOfAuxSymbols;
        if (symbol.StorageClass != IMAGE_SYM_CLASS_EXTERNAL)
            continue;
        const bool isLong = symbol.N.Name.Short == 0;
        const std::string name = isLong ? std::string(object.c_str() + strings + symbol.N.Name.Long)
                                        : std::string(object.data() + at, strnlen(object.data() + at, 8));
        (symbol.SectionNumber == IMAGE_SYM_UNDEFINED ? symbols.needed : symbols.defined).insert(name);
    }
}

void ReadLibrary(const std::wstring& path, Symbols& symbols)
{
    constexpr size_t headerSize = sizeof(IMAGE_ARCHIVE_MEMBER_HEADER);
    const std::string bytes = FileBytes(path);
    for (size_t at = IMAGE_ARCHIVE_START_SIZE; at + headerSize <= bytes.size();)
    {
        const auto member = ReadAt<IMAGE_ARCHIVE_MEMBER_HEADER>(bytes, at);
        const size_t size = std::stoul(std::string(reinterpret_cast<const char*>(member.Size), sizeof member.Size));
        // The members for the symbol table and the long names are no object files.
        const bool isObject = member.Name[0] != '/' || (member.Name[1] >= '0' && member.Name[1] <= '9');
        if (isObject)
            ReadObject(bytes.substr(at + headerSize, size), symbols);
        at += headerSize + size + size % 2;
    }
}

// The functions that this program imports.
std::set<std::string> Imports()
{
    const auto* const base = reinterpret_cast<const unsigned char*>(GetModuleHandleW(nullptr));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::set<std::string> names;
    for (const auto* module = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         module->Name != 0; ++module)
    {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + module->OriginalFirstThunk);
        for (; name->u1.AddressOfData != 0; ++name)
        {
            if (!IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal))
                names.insert(reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData)->Name);
        }
    }
    return names;
}

// What the product's libraries need and this program imports for them.
std::set<std::string> ProductImports()
{
    Symbols symbols;
    ReadLibrary(ORV_PROFILER_LIBRARY, symbols);
    ReadLibrary(ORV_HOST_LIBRARY, symbols);
    const std::string prefix = "__imp_";
    std::set<std::string> product;
    for (const std::string& import : Imports())
    {
        const bool direct = symbols.needed.count(import) != 0 && symbols.defined.count(import) == 0;
        if (direct || symbols.needed.count(prefix + import) != 0)
            product.insert(import);
    }
    return product;
}

std::set<std::string> FunctionsWithRow()
{
    std::set<std::string> functions = FunctionsAskedOnce();
    for (const FaultTable& table :
         {OldSystemStartFaults(), NamespaceStartFaults(), WorkbenchFaults(), SessionFaults(), ThreadTableFaults(),
          PrivateDataFaults(), ProxyEventFaults(), ProcessQueryFaults(), FileFaults(), TextFaults()})
    {
        for (const FaultRow& row : table)
            functions.insert(row.function);
    }
    return functions;
}

std::set<std::string> FunctionsWithoutRow()
{
    std::set<std::string> functions;
    for (const auto& entry : c_withoutRow)
        functions.insert(entry.function);
    return functions;
}

std::vector<std::string> Difference(const std::set<std::string>& from, const std::set<std::string>& without)
{
    std::vector<std::string> rest;
    std::set_difference(from.begin(), from.end(), without.begin(), without.end(), std::back_inserter(rest));
    return rest;
}
} // namespace

// When the product begins to call another system function, that needs a row in a table, or a reason why it has none.
TEST(FaultTables, EveryFunctionThatTheProductCallsHasARowOrAReason)
{
    const std::set<std::string> product = ProductImports();
    EXPECT_GT(product.size(), 80U);
    std::set<std::string> known = FunctionsWithRow();
    known.merge(FunctionsWithoutRow());
    EXPECT_THAT(Difference(product, known), testing::IsEmpty());
}

// A function is in the list of reasons or in a table, never in both; and every function that can be made to fail is
// in a table.
TEST(FaultTables, EveryFunctionIsOnOneSideOnly)
{
    std::set<std::string> both;
    const std::set<std::string> with = FunctionsWithRow();
    const std::set<std::string> without = FunctionsWithoutRow();
    std::set_intersection(with.begin(), with.end(), without.begin(), without.end(), std::inserter(both, both.end()));
    EXPECT_THAT(both, testing::IsEmpty());
    const std::vector<std::string> canFail = SystemFaults::Functions();
    EXPECT_THAT(Difference({canFail.begin(), canFail.end()}, with), testing::IsEmpty());
}
