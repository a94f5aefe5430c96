#pragma once
/* The kit's accesses of the chip, by calls that a test answers. */

#ifdef __cplusplus
extern "C" {
#endif
unsigned long KitRead(unsigned long base, unsigned long offset);
void KitWrite(unsigned long base, unsigned long offset, unsigned long value);
#ifdef __cplusplus
}
#endif

#ifndef __cplusplus
#define KORV_READ(base, offset) KitRead(base, offset)
#define KORV_WRITE(base, offset, value) KitWrite(base, offset, value)
/* A check of a fault runs to its end. */
#define KORV_PATIENCE 50000UL
#endif
