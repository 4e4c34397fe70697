#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

/// Ends the program when a rule of the code under test does not hold; the fuzzer then keeps the input.
#define CHECK(condition) ((condition) ? void() : checkFailed(#condition, __FILE__, __LINE__))

[[noreturn]] inline void checkFailed(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

#endif
