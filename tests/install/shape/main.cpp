#include <zkharfbuzzshaper.h>
#include <zkparagraph.h>
#include <zkthaiwords.h>

#include <cstdio>

int main(int, char **argv)
{
    ZkHarfBuzzShaper shaper;
    ZkThaiWords words;
    ZkParagraph text;
    text.setChain(ZkFontChain(ZkTypeface::fromFile(argv[1])));
    text.setShaper(&shaper);
    text.setWordBreaker(&words);
    text.setUtf8("สวัสดีชาวโลก");
    text.setWidth(1);
    text.setWordCutting(false);
    for (int i = 0; i < text.lineCount(); ++i) {
        std::printf("[%d..%d]\n", text.line(i).first, text.line(i).last);
    }
}
