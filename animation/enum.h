/*
 * Enumerations of 32 bits, in C and in C++.
 *
 * Their numbers are part of the interface, and an application may put any 32-bit number into a
 * record. The fixed underlying type lets C++ load every such number.
 */
#ifndef ANIMATION_ENUM_H
#define ANIMATION_ENUM_H

#ifdef __cplusplus
#define ANIMATION_32_BIT : unsigned int
#else
#define ANIMATION_32_BIT
#endif

#endif
