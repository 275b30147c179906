#include "core/Version.h"

#include <cstdio>

int main() {
    std::printf("velmoractl %s\n", velmora::kVersion);
    return 0;
}
