#pragma once

#include "action/animationcurve.h"

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE
class VZylStream;

namespace action
{
/// Reads a curve in the stream's form; false, with the curve as it was, on a syntax error.
bool readCurve(VZylStream& stream, AnimationCurve& curve);
void readCurve(QDataStream& data, AnimationCurve& curve);
} // namespace action
