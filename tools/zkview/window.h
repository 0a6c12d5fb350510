#ifndef ZKVIEW_WINDOW_H
#define ZKVIEW_WINDOW_H

#include "model.h"

#include <string>

namespace zkview
{

/// The names of the video drivers that SDL was built with, comma separated.
std::string videoDrivers();

/// Shows the model in a window, the whole screen where there are no windows, until
/// the user closes it. Throws std::runtime_error when SDL cannot open one.
void show(Model &model, bool fullScreen);

} // namespace zkview

#endif
