#include "filter.h"

int16_t q15_mul(int16_t a, int16_t b)
{
    int32_t product = ((int32_t)a * (int32_t)b + (1 << 14)) >> 15;
    if (product > INT16_MAX)
        return INT16_MAX;
    if (product < INT16_MIN)
        return INT16_MIN;
    return (int16_t)product;
}

int lp_init(lowpass_t *f, int16_t alpha)
{
    if (alpha <= 0)
        return -1;
    f->alpha = alpha;
    f->state = 0;
    f->primed = 0;
    return 0;
}

int16_t lp_step(lowpass_t *f, int16_t sample)
{
    if (!f->primed) {
        f->state = (int32_t)sample << 15;
        f->primed = 1;
        return sample;
    }
    const int32_t y = f->state >> 15;
    f->state += (int32_t)f->alpha * (sample - y);
    return (int16_t)(f->state >> 15);
}
