#ifndef ZKTEXT_SHAPING_H
#define ZKTEXT_SHAPING_H

#include "commands.h"

#include <zkshaper.h>
#include <zktextbreaks.h>

#include <memory>
#include <string>
#include <vector>

namespace zktext
{

/// Which shaper a paragraph has, and what it is told.
struct ShapingOptions {
    std::string shaper = "simple";
    std::string language;
    std::vector<std::string> features; ///< "liga=0", "ss01", "smcp=1:FIRST,LAST"

    /// `--shaper`, `--language` and `--feature`.
    void add(CLI::App &command);

    /// Throws for an option that the shaper does not have.
    void check() const;
};

/// The shaper and what knows words; null is what the library has built in.
struct Shaping {
    std::unique_ptr<ZkShaper> shaper;
    std::unique_ptr<ZkWordBreaker> words;

    /// Throws `Failure` when the program was built without libzkshape.
    explicit Shaping(const ShapingOptions &options);
};

} // namespace zktext

#endif
