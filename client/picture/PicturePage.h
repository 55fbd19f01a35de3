#pragma once

#include "client/picture/Picture.h"

#include <string>

// The page that shows a picture: one HTML document in ASCII that needs no other file and no network. Texts in it are
// data, whatever they contain.
std::string PageOf(const Picture& picture);
