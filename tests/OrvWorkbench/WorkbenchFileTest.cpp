#include "tests/support/processes/WorkbenchRun.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <cstring>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <string>

using testing::HasSubstr;

// What the system and a curious user read from the program's file.

namespace
{
// The file, mapped as data: its resources can be found, nothing of it runs.
class ProgramFile
{
public:
    ProgramFile() : m_module(LoadLibraryExW(Path().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)) {}
    ~ProgramFile() { FreeLibrary(m_module); }
    ProgramFile(const ProgramFile&) = delete;
    ProgramFile& operator=(const ProgramFile&) = delete;

    static std::wstring Path() { return WorkbenchRun::BuiltProgram(); }

    // A resource's bytes; nothing when there is none.
    std::string Resource(const wchar_t* name, const wchar_t* type) const
    {
        HRSRC const found = FindResourceW(m_module, name, type);
        HGLOBAL const loaded = found != nullptr ? LoadResource(m_module, found) : nullptr;
        if (loaded == nullptr)
            return {};
        return {static_cast<const char*>(LockResource(loaded)), SizeofResource(m_module, found)};
    }

private:
    HMODULE m_module;
};

// The program's image as the linker laid it out.
class Image
{
public:
    Image() : m_bytes(FileBytes(ProgramFile::Path())) {}

    const IMAGE_NT_HEADERS64& Headers() const
    {
        const auto* const dos = At<IMAGE_DOS_HEADER>(0);
        return *At<IMAGE_NT_HEADERS64>(static_cast<size_t>(dos->e_lfanew));
    }

    // What lies at an address of the loaded image.
    template <class Type>
    const Type* AtAddress(uint64_t address) const
    {
        const IMAGE_NT_HEADERS64& headers = Headers();
        const auto* section = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
            reinterpret_cast<const char*>(&headers.OptionalHeader) + headers.FileHeader.SizeOfOptionalHeader);
        for (unsigned i = 0; i < headers.FileHeader.NumberOfSections; ++i, ++section)
        {
            if (address >= section->VirtualAddress && address - section->VirtualAddress < section->SizeOfRawData)
                return At<Type>(static_cast<size_t>(address - section->VirtualAddress + section->PointerToRawData));
        }
        throw std::runtime_error("the image has nothing at that address");
    }

    uint64_t DirectoryAddress(unsigned entry) const
    {
        return Headers().OptionalHeader.DataDirectory[entry].VirtualAddress;
    }

private:
    template <class Type>
    const Type* At(size_t offset) const
    {
        if (offset + sizeof(Type) > m_bytes.size())
            throw std::runtime_error("the image ends too early");
        return reinterpret_cast<const Type*>(m_bytes.data() + offset);
    }

    std::string m_bytes;
};

std::string Lower(std::string text)
{
    for (char& character : text)
        character = character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
    return text;
}

// Each library that the program imports from, in lower case, with the functions.
std::map<std::string, std::set<std::string>> Imports(const Image& image)
{
    std::map<std::string, std::set<std::string>> imports;
    const uint64_t directory = image.DirectoryAddress(IMAGE_DIRECTORY_ENTRY_IMPORT);
    for (const auto* library = image.AtAddress<IMAGE_IMPORT_DESCRIPTOR>(directory); library->Name != 0; ++library)
    {
        std::set<std::string>& functions = imports[Lower(image.AtAddress<char>(library->Name))];
        for (const auto* thunk = image.AtAddress<IMAGE_THUNK_DATA64>(library->OriginalFirstThunk);
             thunk->u1.AddressOfData != 0; ++thunk)
            functions.insert(image.AtAddress<IMAGE_IMPORT_BY_NAME>(thunk->u1.AddressOfData)->Name);
    }
    return imports;
}
} // namespace

TEST(WorkbenchFile, TellsWhatItIs)
{
    const std::wstring path = ProgramFile::Path();
    DWORD ignored = 0;
    std::string version(GetFileVersionInfoSizeW(path.c_str(), &ignored), '\0');
    ASSERT_FALSE(version.empty());
    ASSERT_NE(FALSE, GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data()));

    void* value = nullptr;
    UINT size = 0;
    ASSERT_NE(FALSE, VerQueryValueW(version.data(), L"\\VarFileInfo\\Translation", &value, &size));
    ASSERT_EQ(4U, size);
    EXPECT_EQ(0, std::memcmp(value, "\x09\x04\xB0\x04", 4)) << "US English, UTF-16";

    const std::pair<const wchar_t*, const wchar_t*> texts[] = {
        {L"CompanyName", L"Zeph"},
        {L"FileDescription", L"Workbench for managed assemblies"},
        {L"FileVersion", L"1.0.0.0"},
        {L"InternalName", L"OrvWorkBench64"},
        {L"OriginalFilename", L"OrvWorkBench64.exe"},
        {L"ProductName", L"OrvProfiler"},
        {L"ProductVersion", L"1.0.0.0"},
    };
    for (const auto& [name, text] : texts)
    {
        const std::wstring query = L"\\StringFileInfo\\040904b0\\" + std::wstring(name);
        ASSERT_NE(FALSE, VerQueryValueW(version.data(), query.c_str(), &value, &size))
            << testing::PrintToString(query);
        EXPECT_STREQ(text, static_cast<const wchar_t*>(value));
    }

    ASSERT_NE(FALSE, VerQueryValueW(version.data(), L"\\", &value, &size));
    const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(0xFEEF04BDU, fixed->dwSignature);
    EXPECT_EQ(0x00010000U, fixed->dwFileVersionMS);
    EXPECT_EQ(0U, fixed->dwFileVersionLS);
    EXPECT_EQ(0x00010000U, fixed->dwProductVersionMS);
    EXPECT_EQ(0U, fixed->dwProductVersionLS);
    EXPECT_EQ(0x00040004U, fixed->dwFileOS);
    EXPECT_EQ(1U, fixed->dwFileType) << "an application";
}

TEST(WorkbenchFile, HasAManifestThatNamesTheSystemsItKnows)
{
    const std::string manifest = Lower(ProgramFile().Resource(MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24)));
    // Without the last entry, Windows 8.1 and later report version 6.2.
    for (const char* system : {"{e2011457-1546-43c5-a5fe-008deee3d3f0}", "{35138b9a-5d96-4fbd-8e2d-a2440225f93a}",
                               "{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}", "{1f676c76-80e1-4239-95bb-83d0f6d0da78}",
                               "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"})
        EXPECT_THAT(manifest, HasSubstr("<supportedos id=\"" + std::string(system) + "\"/>"));
    EXPECT_THAT(manifest, HasSubstr("level=\"asinvoker\""));
    EXPECT_THAT(manifest, HasSubstr("uiaccess=\"false\""));
    EXPECT_THAT(manifest, HasSubstr("processorarchitecture=\"amd64\""));
    EXPECT_THAT(manifest, HasSubstr("windowssettings\">true</longpathaware>"));
}

TEST(WorkbenchFile, IsA64BitConsoleProgramWithTheUsualProtections)
{
    const Image image;
    const IMAGE_NT_HEADERS64& headers = image.Headers();
    EXPECT_EQ(0x8664, headers.FileHeader.Machine);
    EXPECT_EQ(3, headers.OptionalHeader.Subsystem) << "console";
    // High-entropy addresses, dynamic base, no execution of data.
    EXPECT_EQ(0x0160, headers.OptionalHeader.DllCharacteristics & 0x0160);
}

TEST(WorkbenchFile, NeedsNothingBesideWindowsOwnLibraries)
{
    const auto imports = Imports(Image());
    const std::set<std::string> windows{"advapi32.dll", "kernel32.dll", "mscoree.dll", "msvcrt.dll", "user32.dll"};
    for (const auto& [library, functions] : imports)
    {
        EXPECT_TRUE(windows.count(library) != 0) << library;
        EXPECT_FALSE(functions.empty()) << library;
    }
    EXPECT_EQ(std::set<std::string>{"CorBindToRuntimeEx"}, imports.at("mscoree.dll"));
}

TEST(WorkbenchFile, ImportsNoEntryPointThatOlderSystemsLack)
{
    const auto imports = Imports(Image());
    for (const char* name : {"CreatePrivateNamespaceW", "OpenPrivateNamespaceW", "ClosePrivateNamespace",
                             "CreateBoundaryDescriptorW", "DeleteBoundaryDescriptor", "QueryFullProcessImageNameW"})
        EXPECT_EQ(0U, imports.at("kernel32.dll").count(name)) << name;
}
