// The format "DOTS": the word and a line of dots and crosses, one pixel each.

#include "kernel/vimageio.h"

#include <qiodevice.h>

namespace
{
class DotsHandler : public VImageHandler
{
public:
    DotsHandler() : VImageHandler("DOTS", "^DOTS") {}

    void read(VImageIO* io) override
    {
        const QByteArray line = io->ioDevice()->readAll().mid(4).trimmed();
        VImage image;
        if (!image.create(int(line.size()), 1, 8, 2))
            return;
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, 0, line[x] == 'x');
        io->setImage(image);
        io->setStatus(0);
    }

    void write(VImageIO*) override {}
};

class Dots final : public VImageFormatInterface
{
public:
    quint32 queryInterface(const VUuid& id, VUnknownInterface** out) override
    {
        *out = nullptr;
        if (id == VUnknownInterface::interfaceId || id == VFeatureListInterface::interfaceId ||
            id == VImageFormatInterface::interfaceId)
            *out = this;
        else
            return NoInterface;
        addRef();
        return Done;
    }
    quint32 addRef() override { return ++m_references; }
    quint32 release() override
    {
        const quint32 left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    QStringList featureList() const override { return {QStringLiteral("DOTS")}; }
    void install(const QString&) override { VImageIO::defineIOHandler(&m_handler); }

private:
    DotsHandler m_handler;
    quint32 m_references = 1;
};
} // namespace

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT void lib_initialize()
{
}

EXPORT VUnknownInterface* lib_instantiate()
{
    return new Dots;
}
