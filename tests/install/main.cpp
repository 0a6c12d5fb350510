#include <zkfontmetrics.h>

#include <cstdio>

int main(int, char **argv)
{
    ZkFontMetrics::setFontFile(argv[1]);
    ZkFontMetrics layout("Hello, world", ZkFont());
    layout.setTextMinRect(0, 0, 80, 60);
    layout.setWorpWrap(true);
    for (const ZkString &line : layout.subText()) {
        std::printf("[%s]\n", line.toUtf8().constData());
    }
}
