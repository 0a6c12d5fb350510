// Does not compile: the compiler sees that a number is no text.

#include <zkstring.h>

void formatWrongly()
{
    ZkString().sprintf("%s", 5);
}
