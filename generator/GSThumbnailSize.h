// The thumbnail size rule, shared by every front end so that a document gets the same thumbnail
// size in the Finder and in a Linux file manager. Plain C++: no platform types.
#pragma once

#include "gs/util/GSTSize.h"

struct GSDrawingSize {
    double width = 0;
    double height = 0;
    bool operator==(GSDrawingSize const&) const = default;
};

// Fits `size` into `box`. Unless forced, a size already inside the box is kept (scale 1.0).
// Otherwise the side with the smaller ratio decides: when the height ratio is larger the width
// becomes the box's and the height is scaled (truncated); otherwise (ties included) the height
// becomes the box's and the width is scaled. A zero side counts as the ratio 1.0.
// `scale` may be null.
void GSFitSizeIntoBox(GSTSize<int> const& box, GSTSize<int>* size, double* scale, bool force);

// The size at which a w x h picture is drawn for a thumbnail of at most maxWidth x maxHeight.
// Scaling happens only when w > maxWidth or h >= maxHeight (the second test is deliberately not
// strict); then both sizes are rounded as floor(x + 0.49) and fitted. An image exactly as tall as
// the maximum is therefore drawn at its rounded size.
GSDrawingSize GSThumbnailDrawingSize(double w, double h, double maxWidth, double maxHeight);
