#pragma once

#include <qglobal.h>

#include <string_view>

/// Looks up one of the display's colour names, in lower case and without blanks, and sets red,
/// green and blue.
bool x11Color(std::string_view name, quint32& rgb);
