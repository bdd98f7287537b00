// The test card.
#pragma once

#include "PlainFrame.h"

// Color bars, a gray ramp, fine lines, a frame round the picture and the frame's number; RGBA8888.
PlainFrame drawCard(int width, int height, int number);
