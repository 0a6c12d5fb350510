#ifndef HOST_CHARACTERNAMES_H
#define HOST_CHARACTERNAMES_H

/// Names of the values in a `ZkCharacter`, for hosts that show them; "" for a value
/// that there is not.
namespace host
{

const char *categoryName(unsigned value);
const char *bidiName(unsigned value);
const char *lineName(unsigned value);
const char *graphemeName(unsigned value);
const char *wordName(unsigned value);
const char *joiningName(unsigned value);
const char *widthName(unsigned value);
const char *scriptName(unsigned value);

} // namespace host

#endif
