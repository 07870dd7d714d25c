#include "opengl/glmaterial.h"

#include "opengl/glactionevent_p.h"
#include "opengl/glnamelist_p.h"
#include "opengl/glrenderevent.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

#include <algorithm>

using geometry::Vector4f;
using zylfields::field;

namespace
{
constexpr GLenum blendFactors[] = {
    GL_ZERO,
    GL_ONE,
    GL_SRC_COLOR,
    GL_ONE_MINUS_SRC_COLOR,
    GL_SRC_ALPHA,
    GL_ONE_MINUS_SRC_ALPHA,
    GL_DST_ALPHA,
    GL_ONE_MINUS_DST_ALPHA,
    GL_DST_COLOR,
    GL_ONE_MINUS_DST_COLOR,
    GL_SRC_ALPHA_SATURATE,
};

/// The last factor for indices beyond the table, which a file can hold.
GLenum blendFactor(unsigned index)
{
    return blendFactors[std::min<std::size_t>(index, std::size(blendFactors) - 1)];
}

GLenum faceOf(unsigned flags)
{
    constexpr GLenum faces[] = {GL_FRONT, GL_BACK, GL_FRONT_AND_BACK, GL_FRONT_AND_BACK};
    return faces[flags & GL_Material::FaceMask];
}
} // namespace

const Vector4f GL_Material::defaultAmbient(0.2f, 0.2f, 0.2f, 1);
const Vector4f GL_Material::defaultDiffuse(0.8f, 0.8f, 0.8f, 1);
const Vector4f GL_Material::defaultSpecular(0, 0, 0, 1);
const Vector4f GL_Material::defaultEmission(0, 0, 0, 1);

struct GL_Material::Stored {
    struct Color {
        const char* key;
        quint8 tag;
        Vector4f GL_Material::*member;
        const Vector4f& neutral;
    };
    static const Color colors[4];

    static constexpr auto numbers =
        std::tuple(field("shininess", 0x84, &GL_Material::m_shininess, defaultShininess),
                   field("reflection", 0x85, &GL_Material::m_reflection, 0),
                   field("refractive", 0x86, &GL_Material::m_refractive, 0),
                   field("transfalloff", 0x87, &GL_Material::m_transfalloff, 0));
    // The text form has other words for these.
    static constexpr auto flags = field("", 0x03, &GL_Material::m_flags);
    static constexpr auto reserved = field("", 0x88, &GL_Material::m_reserved, 0);
    static constexpr const char* textures = "textures";
    static constexpr quint8 texturesTag = 0x31;

    /// A number in the flags word that has a keyword of its own.
    struct Bits {
        const char* key;
        unsigned mask;
        int shift;
    };
    static constexpr Bits face = {"face", FaceMask, 0};
    static constexpr Bits factors[] = {{"sfactor", SourceMask, sourceShift},
                                       {"dfactor", DestinationMask, destinationShift}};
};

// Indexed by channel.
const GL_Material::Stored::Color GL_Material::Stored::colors[4] = {
    {"ambient", 0x80, &GL_Material::m_ambient, defaultAmbient},
    {"diffuse", 0x81, &GL_Material::m_diffuse, defaultDiffuse},
    {"specular", 0x82, &GL_Material::m_specular, defaultSpecular},
    {"emission", 0x83, &GL_Material::m_emission, defaultEmission},
};

const VMetaClass GL_Material::metaClass("GL_Material", &GL_Material::factory,
                                        &GL_NamedObject::metaClass);

ZYLObject* GL_Material::factory()
{
    return new GL_Material;
}

const VMetaClass* GL_Material::metaObject() const
{
    return &metaClass;
}

GL_Material::GL_Material() = default;

GL_Material::~GL_Material() = default;

bool GL_Material::event(VEvent* event)
{
    if (GL_NamedObject::event(event))
        return true;
    VActionEvent* const action =
        actionevent::between(event, VActionEvent::AddColor, VActionEvent::SetColor);
    if (!action || action->detail() > Emission)
        return false;
    const int channel = action->detail() < 0 ? int(Diffuse) : action->detail();
    Vector4f& color = this->*Stored::colors[channel].member;
    switch (action->code()) {
    case VActionEvent::AddColor:
        color += *action->value<Vector4f>();
        break;
    case VActionEvent::GetColor:
        *action->value<VColor>() = VColor(color);
        break;
    default:
        color = Vector4f(*action->value<VColor>());
    }
    action->accept();
    return true;
}

VFormatIO& GL_Material::read(VFormatIO& io)
{
    GL_NamedObject::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        readText(*stream);
        return io;
    }
    quint8 tag;
    while (zylfields::nextTag(*data, tag)) {
        const auto color =
            std::find_if(std::begin(Stored::colors), std::end(Stored::colors),
                         [tag](const Stored::Color& candidate) { return candidate.tag == tag; });
        if (color != std::end(Stored::colors)) {
            VColor value(this->*color->member);
            zylfields::get(*data, value);
            this->*color->member = Vector4f(value);
        } else if (tag == Stored::texturesTag) {
            io >> m_textures;
        } else if (!zylfields::take(*data, tag, *this, Stored::numbers) &&
                   !zylfields::take(*data, tag, *this,
                                    std::tuple(Stored::flags, Stored::reserved))) {
            zylfields::putBack(*data, tag);
            break;
        }
    }
    return io;
}

void GL_Material::readText(VZylStream& stream)
{
    stream.read("flags", m_flags);
    for (const Stored::Color& color : Stored::colors) {
        VColor value;
        if (stream.read(color.key, value) > 0)
            this->*color.member = Vector4f(value);
    }
    zylfields::read(*stream.io(), *this, Stored::numbers);
    const auto readBits = [&](const Stored::Bits& bits) {
        unsigned value;
        if (stream.read(bits.key, value) > 0)
            m_flags = (m_flags & ~bits.mask) | (value << bits.shift & bits.mask);
    };
    readBits(Stored::face);
    if (stream.contains("blend"))
        m_flags |= Blend;
    for (const Stored::Bits& factor : Stored::factors)
        readBits(factor);
    namelist::read(*stream.io(), Stored::textures, &GL_Scene::textures, m_textures);
}

VFormatIO& GL_Material::write(VFormatIO& io) const
{
    GL_NamedObject::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        writeText(*stream);
        return io;
    }
    *data << Stored::flags.tag;
    zylfields::put(*data, m_flags & ~unsigned(Transparent)); // which `init` finds out
    for (const Stored::Color& color : Stored::colors) {
        const VColor value(this->*color.member);
        if (value == VColor(color.neutral))
            continue;
        *data << color.tag;
        zylfields::put(*data, value);
    }
    zylfields::write(io, *this, Stored::numbers);
    zylfields::write(io, *this, std::tuple(Stored::reserved));
    if (m_textures.size() != 0) {
        *data << Stored::texturesTag;
        io << m_textures;
    }
    return io;
}

void GL_Material::writeText(VZylStream& stream) const
{
    for (const Stored::Color& color : Stored::colors) {
        const VColor value(this->*color.member);
        if (value != VColor(color.neutral))
            zylfields::writeText(stream, color.key, value);
    }
    zylfields::write(*stream.io(), *this, Stored::numbers);
    const auto writeBits = [&](const Stored::Bits& bits) {
        if (const unsigned value = (m_flags & bits.mask) >> bits.shift)
            zylfields::writeText(stream, bits.key, int(value));
    };
    writeBits(Stored::face);
    if (m_flags & Blend)
        zylfields::writeWord(stream, "blend");
    for (const Stored::Bits& factor : Stored::factors)
        writeBits(factor);
    if (m_textures.size() != 0) {
        stream.begin(Stored::textures);
        *stream.io() << m_textures;
        stream.end();
    }
}

void GL_Material::init(GL_Scene* scene)
{
    const bool hasTransparencyMap = m_textures.size() > 1 && m_textures[1];
    const bool transparent = m_diffuse.w < 1 || hasTransparencyMap;
    m_flags = transparent ? m_flags | Transparent : m_flags & ~Transparent;
    if (scene)
        scene->raisePasses(transparent ? 2 : 1);
}

void GL_Material::draw(GL_RenderEvent* event)
{
    GL_State& state = event->state;
    const GLenum face = faceOf(m_flags);
    state.setMaterial(face, GL_AMBIENT, m_ambient);
    state.setMaterial(face, GL_DIFFUSE, m_diffuse);
    state.setMaterial(face, GL_SPECULAR, m_specular);
    state.setMaterial(face, GL_EMISSION, m_emission);
    // GL refuses others, and would keep the shininess of the material before.
    state.setShininess(face, m_shininess > 0 ? std::min(m_shininess, 128.0f) : 0);

    const unsigned index = unsigned(std::max(event->pass, 0));
    const bool isOn = event->viewer && event->viewer->testFlags(GL_Viewer::Textures);
    GL_Texture* const texture = isOn && index < m_textures.size() ? m_textures[index] : nullptr;
    // One whose image is missing counts as none: the texture bound last would show in its place.
    const GL_Texture* const source = texture ? texture->source() : nullptr;
    const bool isTextured = source && source->textureId() != 0;

    // The transparent pass has its own blending.
    if (index == 0) {
        const bool isBlended = isTextured && m_flags & Blend;
        state.setEnabled(GL_State::Blend, isBlended);
        if (isBlended)
            glBlendFunc(blendFactor((m_flags & SourceMask) >> sourceShift),
                        blendFactor((m_flags & DestinationMask) >> destinationShift));
        state.setEnabled(GL_State::AlphaTest, isBlended);
        if (isBlended)
            glAlphaFunc(GL_GEQUAL, 0.9f);
    }
    if (isTextured)
        texture->draw(event);
    state.setEnabled(GL_State::Texture2D, isTextured);
}

bool GL_Material::shouldRender(GL_RenderEvent* event) const
{
    return event->pass < 0 || event->pass == (isTransparent() ? 1 : 0);
}

VFormatIO& operator<<(VFormatIO& io, const GL_MaterialVector& materials)
{
    return namelist::write(io, materials);
}

VFormatIO& operator>>(VFormatIO& io, GL_MaterialVector& materials)
{
    return namelist::read(io, nullptr, &GL_Scene::materials, materials);
}
