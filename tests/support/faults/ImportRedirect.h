#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Redirects a system function that the test program (and so the product's code linked into it) imports, by changing
// its entries in the program's import table; the product's code stays plain Win32. Undone by the destructor.
// A redirection is process-wide and reaches product code at once; in the test's own function the compiler may keep
// an import's address in a register, so call it there through a function of its own. Make and undo it while no other
// thread of the test calls the function.
class ImportTableEntry
{
public:
    // Throws std::runtime_error when the program does not import the function.
    ImportTableEntry(const char* function, void* replacement);
    ~ImportTableEntry();
    ImportTableEntry(const ImportTableEntry&) = delete;
    ImportTableEntry& operator=(const ImportTableEntry&) = delete;

    void* Original() const noexcept { return m_original; }

private:
    void Write(void* target) noexcept;

    std::vector<void**> m_entries;
    void* m_original = nullptr;
};

// The typed form:
//     Redirect<decltype(CreateEventW)> redirect("CreateEventW", [](auto...) -> HANDLE { ... });
//     redirect.Real()(...) calls the system's own function.
// The replacement must be a captureless lambda or a function of the same type.
template <class Function>
class Redirect
{
public:
    Redirect(const char* name, Function* replacement) : m_entry(name, reinterpret_cast<void*>(replacement)) {}

    Function* Real() const noexcept { return reinterpret_cast<Function*>(m_entry.Original()); }

private:
    ImportTableEntry m_entry;
};
