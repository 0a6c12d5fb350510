#ifndef ZKVIEW_SHAPERS_H
#define ZKVIEW_SHAPERS_H

#include <zkshaper.h>
#include <zktextbreaks.h>

#include <memory>

namespace zkview
{

/// HarfBuzz's shaper and the words of Thai; both null in a program that was built without
/// libzkshape.
struct HarfBuzz {
    std::unique_ptr<ZkShaper> shaper;
    std::unique_ptr<ZkWordBreaker> words;

    HarfBuzz();
};

} // namespace zkview

#endif
