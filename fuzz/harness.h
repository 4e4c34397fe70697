#ifndef FUZZ_HARNESS_H
#define FUZZ_HARNESS_H

#include "input.h"

// Called by the runner that keeps a corpus: libFuzzer's own main, or replay.cpp.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Called once before the first input, when the application object exists and Qt's messages are switched off.
void prepare();

/// Tries one input.
void tryInput(Input& input);

#endif
