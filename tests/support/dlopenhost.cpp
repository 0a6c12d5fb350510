// A program that knows nothing of the library and loads it at run time: the thread-local
// pointer of its font lock must find room among the static ones. dlopenhost PLUGIN

#include <dlfcn.h>

#include <cstdio>

int main(int, char **argv)
{
    if (dlsym(RTLD_DEFAULT, "zkNoMemory") != nullptr ||
        dlopen("libzk.so", RTLD_NOLOAD) != nullptr) {
        std::fprintf(stderr, "the library is here already\n");
        return 1;
    }
    void *plugin = dlopen(argv[1], RTLD_NOW);
    if (plugin == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    typedef int Width(const char *);
    Width *width = reinterpret_cast<Width *>(dlsym(plugin, "widthInPlugin"));
    const int pixels = width != nullptr ? width(ZK_FONT_DEJAVU) : -1;
    std::printf("%d pixels\n", pixels);
    return pixels > 0 ? 0 : 1;
}
