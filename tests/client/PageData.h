#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

// The data of a page that the client has written. Throws std::runtime_error when it is no such page.
inline nlohmann::json PageData(const std::string& page)
{
    const std::string begin = "<script type=\"application/json\" id=\"session\">";
    const size_t start = page.find(begin);
    const size_t end = page.find("</script>", start);
    if (start == std::string::npos || end == std::string::npos)
        throw std::runtime_error("no page: " + page.substr(0, 1000));
    return nlohmann::json::parse(page.substr(start + begin.size(), end - start - begin.size()));
}
