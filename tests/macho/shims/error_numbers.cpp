#include "macho/shims/error_numbers.h"

#include <array>

namespace macho {

namespace {

struct Pair {
    int here;
    int macos;
};

// Where both systems have the number under one name but as different numbers. In both directions
// the first pair that fits counts.
constexpr Pair kPairs[] = {
    {EDEADLK, 11},      {EAGAIN, 35},          {EINPROGRESS, 36},   {EALREADY, 37},
    {ENOTSOCK, 38},     {EDESTADDRREQ, 39},    {EMSGSIZE, 40},      {EPROTOTYPE, 41},
    {ENOPROTOOPT, 42},  {EPROTONOSUPPORT, 43}, {ENOTSUP, 45},       {EPFNOSUPPORT, 46},
    {EAFNOSUPPORT, 47}, {EADDRINUSE, 48},      {EADDRNOTAVAIL, 49}, {ENETDOWN, 50},
    {ENETUNREACH, 51},  {ENETRESET, 52},       {ECONNABORTED, 53},  {ECONNRESET, 54},
    {ENOBUFS, 55},      {EISCONN, 56},         {ENOTCONN, 57},      {ESHUTDOWN, 58},
    {ETIMEDOUT, 60},    {ECONNREFUSED, 61},    {ELOOP, 62},         {ENAMETOOLONG, 63},
    {EHOSTDOWN, 64},    {EHOSTUNREACH, 65},    {ENOTEMPTY, 66},     {EUSERS, 68},
    {EDQUOT, 69},       {ESTALE, 70},          {ENOLCK, 77},        {ENOSYS, 78},
    {EOVERFLOW, 84},    {ECANCELED, 89},       {EIDRM, 90},         {ENOMSG, 91},
    {EILSEQ, 92},       {ENODATA, 93},         {EBADMSG, 94},       {EMULTIHOP, 95},
    {ENODATA, 96},      {ENOLINK, 97},         {ENOSR, 98},         {ENOSTR, 99},
    {EPROTO, 100},      {ETIME, 101},          {EOPNOTSUPP, 102},   {ENOTRECOVERABLE, 104},
    {EOWNERDEAD, 105},
};

constexpr int kLastCommon = 34;  // ERANGE

bool IsCommon(int number) {
    return number >= 0 && number <= kLastCommon && number != 11;
}

}  // namespace

int ErrorForMacos(int number) {
    for (const Pair& pair : kPairs) {
        if (pair.here == number) {
            return pair.macos;
        }
    }
    return IsCommon(number) ? number : EIO;
}

int ErrorFromMacos(int number) {
    for (const Pair& pair : kPairs) {
        if (pair.macos == number) {
            return pair.here;
        }
    }
    return IsCommon(number) ? number : EIO;
}

int& MacosErrno() {
    static thread_local int sNumber = 0;
    return sNumber;
}

}  // namespace macho
