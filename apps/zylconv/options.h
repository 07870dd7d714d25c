#pragma once

#include <zyl/all/tools.h>

#include <qstring.h>
#include <qstringlist.h>

#include <utility>
#include <vector>

/// What the command line asks for.
struct Options {
    QString command;
    QStringList arguments; // behind the command, without the options

    int width = 800;
    int height = 600;
    QString view; // empty: as the file has it
    bool perspective = true;
    double zoom = 1;
    bool antialias = false;
    std::vector<std::pair<int, double>> values; // key and value, in the order given
    bool hasBackground = false;
    VColor background;
    bool exact = false;
    bool help = false;
};

/// Reads the command line. Returns an empty text, or one line that says what is wrong with it.
QString parseOptions(int argc, const char* const* argv, Options& options);

/// The whole help.
const char* helpText();
