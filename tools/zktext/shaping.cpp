#include "shaping.h"

#ifdef ZK_WITH_SHAPE
#    include <zkharfbuzzshaper.h>
#    include <zkthaiwords.h>
#endif

#include <cstdio>

namespace zktext
{

namespace
{

/// A feature of OpenType as `--feature` tells it.
struct Feature {
    char tag[5] = "";
    unsigned value = 1;
    int first = 0, last = -1; ///< units; all of the text while `last` is below 0

    explicit Feature(const std::string &text)
    {
        int end = 0;
        const char *const rest = text.c_str();
        bool read = std::sscanf(rest, "%4[A-Za-z0-9]%n", tag, &end) == 1 && end == 4;
        const auto goOn = [&](int more) {
            end += more;
            return more > 0;
        };
        int more = 0;
        if (read && rest[end] == '=') {
            read = std::sscanf(rest + end, "=%5u%n", &value, &more) == 1 && goOn(more);
        }
        if (read && rest[end] == ':') {
            more = 0;
            read = std::sscanf(rest + end, ":%9d,%9d%n", &first, &last, &more) == 2 && goOn(more) &&
                   first >= 0 && last > first;
        }
        if (!read || static_cast<std::size_t>(end) != text.size()) {
            throw CLI::ValidationError("--feature",
                                       "wants TAG[=VALUE][:FIRST,LAST], not '" + text + "'");
        }
    }
};

} // namespace

void ShapingOptions::add(CLI::App &command)
{
    command
        .add_option("--shaper", shaper,
                    "simple: the one built in; harfbuzz: every script and font feature, Thai "
                    "between words")
        ->capture_default_str()
        ->check(CLI::IsMember({"simple", "harfbuzz"}));
    command.add_option("--language", language,
                       "With --shaper harfbuzz, the language of the text: sr, ur, zh-Hant");
    command
        .add_option("--feature", features,
                    "With --shaper harfbuzz, a font feature: TAG[=VALUE][:FIRST,LAST], smcp or "
                    "liga=0:3,9")
        ->allow_extra_args(false);
}

void ShapingOptions::check() const
{
    if (shaper != "harfbuzz" && (!language.empty() || !features.empty())) {
        throw CLI::ValidationError("--shaper", "simple has no languages and no features");
    }
    for (const std::string &feature : features) {
        Feature{feature};
    }
}

#ifdef ZK_WITH_SHAPE

Shaping::Shaping(const ShapingOptions &options)
{
    if (options.shaper != "harfbuzz") {
        return;
    }
    auto made = std::make_unique<ZkHarfBuzzShaper>();
    made->setLanguage(options.language.c_str());
    for (const std::string &text : options.features) {
        const Feature feature(text);
        const std::uint32_t tag = ZkHarfBuzzShaper::tag(feature.tag);
        if (feature.last < 0) {
            made->setFeature(tag, feature.value);
        } else {
            made->setFeature(tag, feature.value, feature.first, feature.last);
        }
    }
    shaper = std::move(made);
    words = std::make_unique<ZkThaiWords>();
}

#else

Shaping::Shaping(const ShapingOptions &options)
{
    if (options.shaper == "harfbuzz") {
        throw Failure("this zktext was built without libzkshape");
    }
}

#endif

} // namespace zktext
