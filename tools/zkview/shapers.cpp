#include "shapers.h"

#ifdef ZK_WITH_SHAPE
#    include <zkharfbuzzshaper.h>
#    include <zkthaiwords.h>
#endif

namespace zkview
{

#ifdef ZK_WITH_SHAPE
HarfBuzz::HarfBuzz()
    : shaper(std::make_unique<ZkHarfBuzzShaper>()), words(std::make_unique<ZkThaiWords>())
{
}
#else
HarfBuzz::HarfBuzz() = default;
#endif

} // namespace zkview
