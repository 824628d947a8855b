// The non-virtual entry of every reader; see ImageReader.h.
#include "formats/ImageReader.h"

#include <utility>

namespace vivark {

Image ImageReader::freshImage(const ReadOptions& options) {
    Image image;
    image.pageNumber = options.page;
    image.keepInfo = options.keepInfo;
    image.keepComment = options.keepComment;
    image.loadMode = options.loadMode;
    return image;
}

void ImageReader::read(Image& image, const ReadOptions& options) {
    Image fresh = freshImage(options);
    readInto(fresh, options);
    image = std::move(fresh);
}

}  // namespace vivark
