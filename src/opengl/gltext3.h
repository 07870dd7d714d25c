#pragma once

#include "opengl/glshape.h"
#include "opengl/gltextlayout.h"

/// A text of solid letters, that stand on the x axis with their faces to z and are as deep as told.
class ZYL_EXPORT GL_Text3 : public GL_Shape, public GL_TextLayout
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Text3();

    /// From the faces, at z = depth, back to z = 0; or, below 0, from z = 0 back. Letters without a
    /// depth are flat.
    float depth() const { return m_depth; }
    void setDepth(float depth);
    /// How many lines stand for a curve of a letter's outline.
    int step() const { return m_step; }
    void setStep(int step);

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void drawShape(GL_RenderEvent* event) override;

protected:
    void layoutChanged() override;

private:
    struct Stored;

    float usedDepth() const;
    void generateTexture(bool on) const;

    float m_depth = 0.25f;
    int m_step = 4;
    bool m_isChecked = false; // whether the letters are closed
};
