// This writes pictures of what a dump could be, to be looked at.
#pragma once

#include <string>

#include "DumpCheck.h"

// Writes the first frame of the dump as opaque pictures: one as its name or the options say, and
// one as each other candidate says. Their names have the dump's name, "name" or the rank, the
// format and the size. No two pictures of the process get the same name. The folder exists. space
// is the color space of YUV in the dump. If the frame can't be read or a picture can't be written,
// this prints the reason and returns false. A part file that doesn't exist counts as zeros.
bool writePictures(const DumpCheck& dump, const std::string& folder,
                   ColorConvert::ColorSpace space);
