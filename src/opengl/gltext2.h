#pragma once

#include "geometry/zylhmatrix.h"
#include "geometry/zylvector.h"
#include "opengl/globject.h"
#include "opengl/gltextlayout.h"

/// A flat text in its own colour, not lit. Its matrix places it in space.
///
/// As a label it faces the viewer at the place of its origin, and its size counts in pixels, at any
/// distance. Edges are smooth: it is drawn with what is transparent, after the rest.
class ZYL_EXPORT GL_Text2 : public GL_Object, public GL_TextLayout
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    enum TextFlag : unsigned { Label = 1u << 12 };

    GL_Text2();

    const geometry::Matrix4f& transform() const { return m_transform; }
    void setTransform(const geometry::Matrix4f& transform);
    bool isLabel() const { return testFlags(Label); }
    void setLabel(bool on);

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    /// Asks the scene for a pass of its own.
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    /// By its lines as wholes, or a letter would be hard to meet.
    void hit(GL_RenderEvent* event) override;
    bool shouldRender(GL_RenderEvent* event) const override;
    bool hasTransform(geometry::Matrix4f& matrix) const override;
    /// Of a label, its origin.
    void bounds(geometry::Box3f& box) const override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

    // Show the current object, and a selected one, in the colour that stands.
    void drawHandles(GL_RenderEvent* event);
    void drawHull(GL_RenderEvent* event);
    using GL_Object::drawHandles;

protected:
    void layoutChanged() override;

private:
    class Space;
    /// A corner of a character's picture.
    struct Corner {
        geometry::Vector2f at, texture;
    };

    geometry::Box3f localBounds() const;
    void makePictures();
    void drawText(GL_RenderEvent* event, float emPixels);
    void drawPictures(GL_RenderEvent* event);
    void drawOutlines(const std::vector<Place>& places, float emPixels);

    geometry::Matrix4f m_transform;
    bool m_hasPictures = false;
    std::vector<Corner> m_pictures; // four for each character
    std::vector<Place> m_others;    // characters without a picture
};
