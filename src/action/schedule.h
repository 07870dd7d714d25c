#pragma once

#include "action/animationcurve.h"
#include "action/scheme.h"

class VZylStream;

namespace action
{
/// The curves that move one node: translation in x, y and z, rotation about the same in degrees,
/// and scale along them. A curve may be missing, as null. Owns its curves.
///
/// In the text form:
///
///     schedule {
///         translateX { { 0, 0 }, { 1, 0 }, { 2, 5 }, { 3, 5 } };
///         rotateZ { ... };
///     };
class ZYL_EXPORT Schedule : public Scheme, public VPtrVector<AnimationCurve>
{
public:
    enum Channel { TranslateX, RotateX = 3, ScaleX = 6 };
    static constexpr int channels = 9;

    Schedule();

    /// A curve that can't be read draws a warning, and the others are read. Unknown entries are
    /// passed over. Curves that the stream doesn't hold stay.
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

protected:
    // One curve, without its channel.
    QDataStream& read(QDataStream& stream, Item& item) override;
    QDataStream& write(QDataStream& stream, Item item) const override;

private:
    void readText(VZylStream& stream);
    void readBinary(QDataStream& data);
};
} // namespace action
