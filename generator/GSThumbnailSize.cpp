#include "generator/GSThumbnailSize.h"

#include <cmath>

void GSFitSizeIntoBox(GSTSize<int> const& box, GSTSize<int>* size, double* scale, bool force)
{
    if (!force && size->width <= box.width && size->height <= box.height) {
        if (scale)
            *scale = 1.0;
        return;
    }
    double sx = size->width != 0 ? static_cast<double>(box.width) / size->width : 1.0;
    double sy = size->height != 0 ? static_cast<double>(box.height) / size->height : 1.0;
    if (sy > sx) {
        if (scale)
            *scale = sx;
        size->height = static_cast<int>(sx * size->height);
        size->width = box.width;
    } else {
        if (scale)
            *scale = sy;
        size->width = static_cast<int>(sy * size->width);
        size->height = box.height;
    }
}

GSDrawingSize GSThumbnailDrawingSize(double w, double h, double maxWidth, double maxHeight)
{
    if (!(w > maxWidth || h >= maxHeight))
        return {w, h};
    GSTSize<int> size{static_cast<int>(std::floor(w + 0.49)), static_cast<int>(std::floor(h + 0.49))};
    GSTSize<int> box{static_cast<int>(std::floor(maxWidth + 0.49)), static_cast<int>(std::floor(maxHeight + 0.49))};
    GSFitSizeIntoBox(box, &size, nullptr, false);
    return {static_cast<double>(size.width), static_cast<double>(size.height)};
}
