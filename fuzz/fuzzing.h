/*
 * What the fuzz targets share. Each target is a file of this folder with libFuzzer's entry point,
 * LLVMFuzzerTestOneInput, and a dictionary and a corpus of its name; scripts/fuzz runs them.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include <offscreen/offscreen_window.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/* A window on the watched GL, opened by the first call and never closed. The rate-limited reports
 * are off, or writing them would be most of the work. */
OffscreenWindow &fuzz_window();

/* Puts the input into a file and returns the file's path, the same one each time. */
const char *input_file(const std::uint8_t *data, std::size_t size);

/* ---- By watch_null_gl.cpp, or by bench/watch_llvmpipe.cpp for the soak ----------------------- */

void watch_gl(); /* before the first call of GL */

std::size_t textures_alive();

/* Ends the process unless this many textures are alive, no EGL image is, and GL has found nothing
 * to complain of: the input is then a finding. */
void require_clean_gl(std::size_t textures);
