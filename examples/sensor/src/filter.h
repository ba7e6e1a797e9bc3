/* A first-order low-pass filter in Q15 fixed point, as the device has no
 * floating-point unit: y += alpha * (x - y). */
#ifndef SENSOR_FILTER_H
#define SENSOR_FILTER_H

#include <stdint.h>

typedef struct {
    int16_t alpha; /* Q15, 0 < alpha <= 32767 */
    int32_t state; /* Q15 scaled by 2^15 for precision */
    int primed;    /* the first sample sets the state directly */
} lowpass_t;

/* -1 when alpha is not in (0, 32767]. */
int lp_init(lowpass_t *f, int16_t alpha);
int16_t lp_step(lowpass_t *f, int16_t sample);
/* Saturating Q15 multiplication. */
int16_t q15_mul(int16_t a, int16_t b);

#endif
