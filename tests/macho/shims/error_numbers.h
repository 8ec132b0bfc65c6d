// The numbers of errno, which differ between the systems from 35 on, and at 11.
#pragma once

#include <cerrno>

namespace macho {

// A number without a counterpart becomes that of EIO.
int ErrorForMacos(int number);
int ErrorFromMacos(int number);

// errno as the image's code sees it, of the calling thread.
int& MacosErrno();

}  // namespace macho
