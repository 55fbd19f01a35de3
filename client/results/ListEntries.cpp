#include "client/results/ListEntries.h"

#include "client/base/Text.h"

#include <nlohmann/json.hpp>

std::vector<ListEntry> EntriesOf(const CommandRecord& record)
{
    std::vector<ListEntry> entries;
    const nlohmann::json told = nlohmann::json::parse(record.json, nullptr, false);
    if (!told.is_object() || !told.contains("list") || !told["list"].is_array())
        return entries;
    for (const nlohmann::json& given : told["list"])
    {
        ListEntry entry;
        for (const auto& [name, text] : given.items())
            if (text.is_string())
                entry[name] = FromUtf8(text.get_ref<const std::string&>()).value_or(std::wstring());
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::wstring TextOf(const ListEntry& entry, const char* name)
{
    const auto found = entry.find(name);
    return found == entry.end() ? std::wstring() : found->second;
}
