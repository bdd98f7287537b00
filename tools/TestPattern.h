// This draws the test pattern that make-dump writes.
#pragma once

#include "LinearFrame.h"

// Draws color bars, a gray ramp, fine lines, a border and the frame's number, in RGBA32.
LinearFrame drawTestPattern(int width, int height, int number);
