#ifndef ZKSCRIPTTAGS_H
#define ZKSCRIPTTAGS_H

#include <hb.h>

/// HarfBuzz's name of a `ZkCharacter::Script`: its ISO 15924 code. A number that is none
/// counts as unknown.
hb_script_t zkScriptTag(int script);

#endif
