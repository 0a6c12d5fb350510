#ifndef ZKOPENTYPE_H
#define ZKOPENTYPE_H

#include "zktypeface.h"

#include <hb.h>

/// The typeface for HarfBuzz, over the typeface's own bytes; null when it has no OpenType
/// tables (Type 1, bitmaps), and without memory. It keeps a handle of the typeface.
hb_face_t *zkOpenFace(const ZkTypeface &typeface);

/// The same in a size, at the typeface's place on its axes. Lengths are 1/64 pixel.
hb_font_t *zkOpenFont(hb_face_t *face, const ZkTypeface &typeface, int pixelSize);

/// The shapers of HarfBuzz that are used: OpenType in every font, for what others
/// (Graphite) do cannot be listed.
extern const char *const kZkShapers[2];

#endif
