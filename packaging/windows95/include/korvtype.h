/* The numbers that all records of KORV32 are made of. For C90 compilers, of 16 and of 32 bits: no
   record holds a pointer or an enumeration. Linear addresses are numbers of 32 bits, and all fields
   lie at multiples of their size, so that every packing gives one layout. */
#ifndef KORVTYPE_H
#define KORVTYPE_H

typedef unsigned char KORV_U8;
typedef unsigned short KORV_U16;
typedef unsigned long KORV_U32;
typedef signed short KORV_S16;
typedef signed long KORV_S32;

/* Does not compile where the types have other sizes. */
typedef char KorvSizesAreRight[sizeof(KORV_U16) == 2 && sizeof(KORV_U32) == 4 ? 1 : -1];

#endif
