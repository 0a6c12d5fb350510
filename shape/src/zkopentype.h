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

/// True when no rule of the font that applies to such text joins a space with what stands
/// behind it, so that words may be shaped one by one, each with its space. Rules that
/// cannot be listed (state tables of the AAT kind) join all.
bool zkIsSpaceFree(hb_font_t *font, const hb_segment_properties_t &segment,
                   const hb_feature_t *features, unsigned featureCount);

#endif
