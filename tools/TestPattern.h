// This draws the test pattern that make-dump writes.
#pragma once

#include "Packer.h"

// Returns color bars, a gray ramp, fine lines, a border and the frame's number, in RGB24.
Picture testPattern(int width, int height, int number);
