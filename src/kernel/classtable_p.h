#pragma once

#include "toolkit/qasciidict.h"

#include <vector>

/// A process-wide dictionary of classes by name. It exists only while it holds an entry, so that no
/// order of static construction and destruction touches a dead table.
template <class Class>
class ClassTable : public QAsciiDict<Class>
{
public:
    static Class* find(const char* name)
    {
        return table && name ? static_cast<QAsciiDict<Class>*>(table)->find(name) : nullptr;
    }

    static void add(const char* name, Class* entry)
    {
        if (!table)
            table = new ClassTable;
        if (table->count() * 100 >= table->size() * 80) {
            // Each resize turns entries of equal names over; the second puts the latest in front
            // again.
            const auto size = table->size() * 2;
            table->resize(size);
            table->resize(size);
        }
        table->insert(name, entry);
    }

    /// Takes out this very entry, which later ones of its name may hide.
    static void remove(const char* name, Class* entry)
    {
        if (!table)
            return;
        std::vector<Class*> later;
        Class* taken;
        while ((taken = table->take(name)) && taken != entry)
            later.push_back(taken);
        for (auto it = later.rbegin(); it != later.rend(); ++it)
            table->insert(name, *it);
        if (table->isEmpty()) {
            delete table;
            table = nullptr;
        }
    }

private:
    ClassTable() : QAsciiDict<Class>(8, true, false) {}

    // A plain pointer needs no constructor, so classes may register during static initialisation.
    static inline ClassTable* table = nullptr;
};
