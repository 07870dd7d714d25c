#pragma once

#include <qstring.h>

/// The path of a file under tests/data, named as "<folder>/<file>".
QString testData(const char* name);
