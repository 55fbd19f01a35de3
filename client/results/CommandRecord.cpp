#include "client/results/CommandRecord.h"

#include "client/base/Text.h"
#include "OrvProfiler/protocol/ActionResult.h"

#include <iterator>
#include <nlohmann/json.hpp>

namespace
{
using Json = nlohmann::ordered_json;

std::wstring TextOf(const Json& object, const char* name)
{
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string())
        return {};
    return FromUtf8(found->get_ref<const std::string&>()).value_or(std::wstring());
}

std::wstring NameOf(int32_t result)
{
    if (result < 0 || result >= static_cast<int32_t>(std::size(c_actionResultNames)))
        return L"unknown result " + std::to_wstring(result);
    return c_actionResultNames[result];
}

// An object whose class has no text of its own is called by its type.
std::wstring PlainText(const Json& value)
{
    for (const char* name : {"string", "text", "type"})
        if (value.contains(name) && value[name].is_string())
            return TextOf(value, name);
    return {};
}

std::wstring ReasonOf(const Json& record)
{
    if (record.contains("error") && record["error"].is_object())
        return TextOf(record["error"], "message");
    if (!record.contains("exception") || !record["exception"].is_object())
        return {};
    const Json& exception = record["exception"];
    const std::wstring message = TextOf(exception, "message");
    return TextOf(exception, "type") + (message.empty() ? L"" : L": " + message);
}

CommandRecord ReadTold(const std::string& text)
{
    CommandRecord record;
    const Json told = Json::parse(text, nullptr, false);
    if (!told.is_object() || !told.contains("result") || !told["result"].is_number_integer())
        return record;
    record.result = told["result"].get<int32_t>();
    if (told.contains("value") && told["value"].is_object())
        record.value = PlainText(told["value"]);
    record.hasMade = told.contains("made");
    record.reason = ReasonOf(told);
    record.json = text;
    return record;
}
} // namespace

CommandRecord ReadRecord(const CommandResult& result)
{
    CommandRecord record = ReadTold(result.record);
    if (!record.result)
        record.result = result.tracedResult;
    if (record.result)
        record.resultName = NameOf(*record.result);
    return record;
}
