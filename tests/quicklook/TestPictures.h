// Real JPEG and PNG bytes of a given size, for documents whose stored picture must decode.
#pragma once

#include <vector>

namespace qmtest {

// A w x h picture of one colour.
std::vector<unsigned char> encodedJPEG(int width, int height);
std::vector<unsigned char> encodedPNG(int width, int height);

} // namespace qmtest
