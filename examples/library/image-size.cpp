// image-size FILE...: the format, size and depth of each image, read with
// the Vivark library (an example of its use outside the project).
#include <cstdio>

#include "core/Messages.h"
#include "formats/FormatTable.h"
#include "formats/Loader.h"

int main(int argc, char** argv) {
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        vivark::Image image;
        vivark::ReadOptions options;
        options.headerOnly = true;  // size and depth, without decoding the pixels
        const vivark::LoadResult result = vivark::loadFile(image, argv[i], options);
        if (!result.completed) {
            std::fprintf(stderr, "%s: %s\n", argv[i],
                         vivark::formatMessage(result.message, argv[i]).c_str());
            status = 1;
            continue;
        }
        std::printf("%s: %s, %ux%u, %u bits per pixel\n", argv[i], result.format->name,
                    result.info.width, result.info.height, result.info.bitsPerPixel);
    }
    return status;
}
