#pragma once

#include "kernel/vimage.h"

#include <png.h>

/// What reading a whole PNG and reading it piece by piece share.
namespace pngsetup
{
/// Creates the codec's read structure. Errors jump to the codec's own jump buffer; warnings are
/// printed. Null when there is no memory.
png_structp createReader();

/// Chooses the transformations for the picture whose header was read, and makes `image` in the form
/// that its rows then have. False for a size that isn't allowed. Jumps on an error: only objects
/// without destructors may stand between.
bool setupImage(png_structp png, png_infop info, float screenGamma, VImage& image);

/// Takes resolution, offset and texts into the image, and drops an alpha flag that nothing needs.
/// Returns the texts as lines "KEY: TEXT". Call it outside of the jump's two ends.
QString finishImage(png_structp png, png_infop info, VImage& image);
} // namespace pngsetup
