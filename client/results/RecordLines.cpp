#include "client/results/RecordLines.h"

#include "client/base/Text.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace
{
using Json = nlohmann::json;
using Lines = std::vector<std::wstring>;

std::wstring TextOf(const Json& object, const char* name)
{
    if (!object.is_object() || !object.contains(name) || !object[name].is_string())
        return {};
    return FromUtf8(object[name].get_ref<const std::string&>()).value_or(std::wstring());
}

std::wstring Typed(const std::wstring& type, const std::wstring& text)
{
    return type.empty() || text.empty() ? type + text : type + L" " + text;
}

// "t = double 5.5"; without a name "=> double 5.5".
std::wstring ValueLine(const std::wstring& name, const Json& value)
{
    return (name.empty() ? L"=> " : name + L" = ") + Typed(TextOf(value, "type"), TextOf(value, "text"));
}

void AddError(Lines& lines, const Json& error)
{
    const bool hasColumn = error.contains("column") && error["column"].is_number_integer();
    const std::wstring place = hasColumn ? L" at column " + std::to_wstring(error["column"].get<int>()) : L"";
    lines.push_back(L"error" + place + L": " + TextOf(error, "message"));
}

void AddRaised(Lines& lines, const wchar_t* label, const Json& raised)
{
    const std::wstring message = TextOf(raised, "message");
    lines.push_back(label + TextOf(raised, "type") + (message.empty() ? L"" : L": " + message));
    for (const Json& frame : raised.value("frames", Json::array()))
        if (frame.is_string())
            lines.push_back(L"    " + FromUtf8(frame.get_ref<const std::string&>()).value_or(std::wstring()));
}

// Each is followed by what caused it.
void AddException(Lines& lines, const Json& exception)
{
    std::vector<Json> left{exception};
    for (const wchar_t* label = L"exception "; !left.empty(); label = L"  caused by ")
    {
        const Json raised = std::move(left.back());
        left.pop_back();
        if (!raised.is_object())
            continue;
        AddRaised(lines, label, raised);
        const Json causes = raised.value("causes", Json::array());
        if (causes.is_array())
            left.insert(left.end(), causes.rbegin(), causes.rend());
    }
}
} // namespace

std::vector<std::wstring> LinesOf(const CommandRecord& record)
{
    Lines lines;
    const Json told = Json::parse(record.json, nullptr, false);
    if (!told.is_object())
        return lines;
    if (told.contains("assembly"))
        lines.push_back(TextOf(told["assembly"], "name") + L" from " + TextOf(told["assembly"], "file"));
    for (const ListEntry& entry : EntriesOf(record))
        lines.push_back(L"  " + LineOf(entry));
    for (const Json& reference : told.value("references", Json::array()))
        lines.push_back(ValueLine(TextOf(reference, "name"), reference));
    if (told.contains("value"))
        lines.push_back(ValueLine(TextOf(told, "made"), told["value"]));
    if (told.contains("error"))
        AddError(lines, told["error"]);
    if (told.contains("exception"))
        AddException(lines, told["exception"]);
    return lines;
}

std::wstring LineOf(const ListEntry& entry)
{
    const std::wstring signature = TextOf(entry, "signature");
    if (!signature.empty())
        return signature + L"  // " + TextOf(entry, "from");
    if (entry.count("kind") != 0)
        return TextOf(entry, "kind") + L" " + TextOf(entry, "name");
    const std::wstring name = TextOf(entry, entry.count("path") != 0 ? "path" : "name");
    if (entry.count("raised") != 0)
        return name + L" (" + TextOf(entry, "raised") + L")";
    const std::wstring value = Typed(TextOf(entry, "type"), TextOf(entry, "text"));
    return name.empty() ? value : name + L" = " + value;
}
