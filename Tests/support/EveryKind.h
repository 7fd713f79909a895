#pragma once

#ifdef __cplusplus
extern "C" {
#endif

enum { EVERY_KIND_STATUS = 77, EVERY_KIND_LEVEL = 3 };

/* Registers the driver "EveryKind". Its devices make an object of every kind, whose operations do
 * nothing but trace "<object> <operation> <arguments>" at EVERY_KIND_LEVEL and return
 * EVERY_KIND_STATUS. LEDs can blink when the driver argument "blinks" is given. */
void every_kind_register( void );

#ifdef __cplusplus
}
#endif
