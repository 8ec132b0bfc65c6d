// The one image of the process.
#pragma once

namespace macho {

class Image;

// Null before it is loaded, and when it cannot be.
const Image* LoadedImage();

// From now on neither the image nor the library around it leaves the process. False if the system
// refuses.
bool HoldImage();

}  // namespace macho
