#include "tools/vdllmanager.h"

#include "tools/postroutines.h"

#include <memory>

#include <dlfcn.h>

namespace
{
VDllManagerData* modules = nullptr;

void freeModules()
{
    // Every module in the dictionary is held by someone who will still unload it.
    modules->setAutoDelete(false);
    delete modules;
    modules = nullptr;
}
} // namespace

bool VDllModule::unload()
{
    if (--m_references > 0)
        return true;
    // A dictionary made after the first was freed doesn't know this module, but may hold one of its
    // name.
    if (!modules || modules->find(fileName()) != this) {
        delete this;
        return true;
    }
    // A copy, since the module's own name dies with it.
    const QString file = fileName();
    return modules->remove(file);
}

VDllManagerData::VDllManagerData() : QDict<VDllModule>(8)
{
    setAutoDelete(true);
}

void VDllManagerData::insert(const QString& file, const VDllModule* module)
{
    if (count() * 100 >= size() * 80)
        resize(size() * 2);
    QDict<VDllModule>::insert(file, module);
}

VDllModule* VDllManager::open(const QString& file)
{
    if (file.isEmpty())
        return nullptr;
    if (!modules) {
        modules = new VDllManagerData;
        postroutines::add(freeModules);
    } else if (VDllModule* known = modules->find(file)) {
        ++known->m_references;
        return known;
    }
    auto module = std::make_unique<VDllModule>();
    if (!module->open(file, RTLD_LAZY))
        return nullptr;
    modules->insert(file, module.get());
    return module.release();
}
