/*
 * Enumerations of a fixed 32-bit size, the same in C and in C++.
 *
 * Their numbers are part of the interface and travel through records, so any 32-bit number must be
 * a value that C++ may load: that is what the fixed underlying type gives.
 */
#ifndef ANIMATION_ENUM_H
#define ANIMATION_ENUM_H

#ifdef __cplusplus
#define ANIMATION_32_BIT : unsigned int
#else
#define ANIMATION_32_BIT
#endif

#endif
