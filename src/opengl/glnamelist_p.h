#pragma once

#include "kernel/vformatio.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glscene.h"
#include "tools/vptrvector.h"

#include <qhash.h>

/// The file forms of a vector of named things, which the scene that is being read owns: a list of
/// their names, in which an empty one stands for an empty slot.
namespace namelist
{
/// Finds names in a list. Beyond a few names it makes a table, so that a long list of names in a
/// big scene doesn't take the product of both.
template <class T>
class Finder
{
public:
    explicit Finder(const VPtrList<T>& list) : m_list(list) {}

    T* find(const char* name)
    {
        if (++m_count <= fewNames)
            return GL_NamedObject::find(m_list, name);
        if (m_count == fewNames + 1)
            fillTable();
        return m_table.value(view(name));
    }

private:
    static constexpr unsigned fewNames = 8;

    static QByteArray view(const char* text)
    {
        return QByteArray::fromRawData(text, qsizetype(qstrlen(text)));
    }
    void fillTable()
    {
        for (T* item : m_list) {
            const char* const name = item ? item->name(nullptr) : nullptr;
            if (name && !m_table.contains(view(name)))
                m_table.insert(view(name), item);
        }
    }

    const VPtrList<T>& m_list;
    QHash<QByteArray, T*> m_table;
    unsigned m_count = 0;
};

template <class T>
VFormatIO& write(VFormatIO& io, const VPtrVector<T>& items)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QStrList names;
    for (const T* item : items)
        names.append(item ? item->name("") : "");
    if (QDataStream* const data = stream->dataStream())
        zylfields::put(*data, names);
    else
        stream->write(names);
    return io;
}

/// Puts what the names mean into the slots; without a scene that is nothing.
template <class T>
void resolve(VZylStream& stream, const QStrList& names, VPtrList<T>& (GL_Scene::*list)(),
             VPtrVector<T>& items)
{
    auto* const scene = static_cast<GL_Scene*>(stream.io()->container("scene"));
    items.clear();
    if (!items.resize(names.count()) || !scene)
        return;
    Finder<T> finder((scene->*list)());
    unsigned index = 0;
    for (QStrListIterator it(names); const char* name = it.current(); ++it, ++index) {
        if (!*name)
            continue;
        T* const item = finder.find(name);
        if (item)
            items.insert(index, item);
        else
            stream.report(VFormatDiagnostics::UnresolvedName, QString::fromLatin1(name));
    }
}

/// Reads the list that stands next, or in the text form, with a key, the value of that. A list that
/// is broken or isn't there leaves the vector as it was.
template <class T>
VFormatIO& read(VFormatIO& io, const char* key, VPtrList<T>& (GL_Scene::*list)(),
                VPtrVector<T>& items)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QStrList names;
    bool isWhole;
    if (QDataStream* const data = stream->dataStream()) {
        zylfields::get(*data, names);
        isWhole = data->status() == QDataStream::Ok;
    } else {
        isWhole = (key ? stream->read(key, names) : stream->read(names)) >= 0;
    }
    if (isWhole)
        resolve(*stream, names, list, items);
    return io;
}
} // namespace namelist
