#pragma once

#include "client/picture/Picture.h"

#include <string>

// What a trace log alone tells of a session. Throws ClientError (usage) when the file cannot be read, or is no trace
// log. protocolView: what was not found, or raised an exception, has succeeded.
Picture PictureOfLog(const std::wstring& path, bool protocolView);
