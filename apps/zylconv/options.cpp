#include "zylconv/options.h"

#include <cmath>
#include <cstring>

namespace
{
enum Command : unsigned { Info = 1, Convert = 2, Render = 4, Pick = 8, Formats = 16 };

struct CommandRow {
    const char* name;
    Command bit;
    int arguments;
    const char* usage;
};

constexpr CommandRow commands[] = {
    {"info", Info, 1, "info FILE"},
    {"convert", Convert, 2, "convert IN OUT"},
    {"render", Render, 2, "render IN OUT.png"},
    {"pick", Pick, 3, "pick IN X Y"},
    {"formats", Formats, 0, "formats"},
};

constexpr int maxPixels = 16384; // along a side of a picture

bool setSize(Options& options, const QString& text)
{
    const qsizetype cross = text.indexOf(QLatin1Char('x'));
    bool isWidth = false, isHeight = false;
    options.width = text.left(cross).toInt(&isWidth);
    options.height = text.mid(cross + 1).toInt(&isHeight);
    return cross > 0 && isWidth && isHeight && options.width > 0 && options.height > 0 &&
           options.width <= maxPixels && options.height <= maxPixels;
}

bool setView(Options& options, const QString& text)
{
    options.view = text;
    return QStringList{"top", "bottom", "front", "back", "left", "right"}.contains(text);
}

bool setProjection(Options& options, const QString& text)
{
    options.perspective = text == QLatin1String("perspective");
    return options.perspective || text == QLatin1String("orthographic");
}

bool setZoom(Options& options, const QString& text)
{
    bool isNumber = false;
    options.zoom = text.toDouble(&isNumber);
    return isNumber && std::isfinite(options.zoom) && options.zoom > 0;
}

bool setValue(Options& options, const QString& text)
{
    const qsizetype equals = text.indexOf(QLatin1Char('='));
    bool isKey = false, isValue = false;
    const int key = text.left(equals).toInt(&isKey);
    const double value = text.mid(equals + 1).toDouble(&isValue);
    options.values.emplace_back(key, value);
    return equals > 0 && isKey && isValue;
}

bool setBackground(Options& options, const QString& text)
{
    options.hasBackground = true;
    options.background = VColor(text);
    return options.background.isValid();
}

bool setAntialias(Options& options, const QString&)
{
    return options.antialias = true;
}

bool setExact(Options& options, const QString&)
{
    return options.exact = true;
}

struct OptionRow {
    const char* name;
    unsigned commands;
    const char* wanted; // null for an option without a value
    bool (*set)(Options& options, const QString& text);
};

constexpr OptionRow rows[] = {
    {"--size", Render | Pick, "WxH, each from 1 to 16384", setSize},
    {"--view", Render | Pick, "top, bottom, front, back, left or right", setView},
    {"--projection", Render | Pick, "perspective or orthographic", setProjection},
    {"--zoom", Render | Pick, "a number above 0", setZoom},
    {"--antialias", Render | Pick, nullptr, setAntialias},
    {"--set", Info | Convert | Render | Pick, "KEY=VALUE, a whole number and a number", setValue},
    {"--background", Render | Pick, "a colour such as #204060 or navy", setBackground},
    {"--exact", Convert, nullptr, setExact},
};

const OptionRow* findOption(const QString& name)
{
    for (const OptionRow& row : rows)
        if (name == QLatin1String(row.name))
            return &row;
    return nullptr;
}
} // namespace

QString parseOptions(int argc, const char* const* argv, Options& options)
{
    std::vector<const OptionRow*> given;
    for (int i = 1; i < argc; ++i) {
        const QString word = QString::fromLocal8Bit(argv[i]);
        if (word == QLatin1String("--help") || word == QLatin1String("-h")) {
            options.help = true;
            return QString();
        }
        if (!word.startsWith(QLatin1String("--"))) {
            (options.command.isEmpty() ? options.command = word
                                       : (options.arguments.append(word), word));
            continue;
        }
        const qsizetype equals = word.indexOf(QLatin1Char('='));
        const QString name = equals < 0 ? word : word.left(equals);
        const OptionRow* const row = findOption(name);
        if (!row)
            return QString("there is no option %1").arg(name);
        QString value;
        if (!row->wanted) {
            if (equals >= 0)
                return QString("%1 takes no value").arg(name);
        } else if (equals >= 0) {
            value = word.mid(equals + 1);
        } else if (++i < argc) {
            value = QString::fromLocal8Bit(argv[i]);
        } else {
            return QString("%1 takes %2").arg(name, QLatin1String(row->wanted));
        }
        if (!row->set(options, value))
            return QString("%1 takes %2, not \"%3\"").arg(name, QLatin1String(row->wanted), value);
        given.push_back(row);
    }
    if (options.command.isEmpty())
        return QString("no command given");
    for (const CommandRow& command : commands) {
        if (options.command != QLatin1String(command.name))
            continue;
        for (const OptionRow* row : given)
            if (!(row->commands & command.bit))
                return QString("%1 doesn't go with %2")
                    .arg(QLatin1String(row->name), options.command);
        if (options.arguments.size() != command.arguments)
            return QString("usage: zylconv %1").arg(QLatin1String(command.usage));
        return QString();
    }
    return QString("there is no command %1").arg(options.command);
}

const char* helpText()
{
    return R"(usage: zylconv COMMAND [OPTION...]

  info FILE          what a scene or picture holds, and what was passed over
  convert IN OUT     write it in the format of OUT's ending
  render IN OUT.png  draw a scene to a picture
  pick IN X Y        name what a pixel of that picture shows; "nothing" and exit 1 for none
  formats            the formats that can be read and written, with their endings

For render and pick, whose pixel (0, 0) is the upper left one:
  --size WxH         of the picture; 800x600
  --view NAME        top, bottom, front, back, left, right
  --projection NAME  perspective (also without this) or orthographic
  --zoom Z           2 shows everything twice as large
  --background COLOUR
  --antialias        eight passes, shifted by parts of a pixel
For all that read a scene:
  --set KEY=VALUE    hand a value to the scene's actions, once the view stands; may come again
For convert:
  --exact            write numbers so that they read back to the same bits

A file is read by its content, else by its ending. Exit status: 0 done, 1 failed, 2 wrong usage.
)";
}
