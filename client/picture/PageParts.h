#pragma once

#include <string_view>

// A file of the folder page, as it was when the client was built; empty when there is none of that name.
std::string_view PagePart(std::string_view name) noexcept;
