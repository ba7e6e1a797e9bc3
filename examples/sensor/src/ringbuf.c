#include "ringbuf.h"

#include <stddef.h>

void rb_init(ringbuf_t *rb)
{
    rb->head = 0;
    rb->tail = 0;
    rb->count = 0;
    rb->overruns = 0;
}

int rb_push(ringbuf_t *rb, int16_t sample)
{
    if (rb->count == RB_CAPACITY) {
        rb->overruns++;
        return -1;
    }
    rb->data[rb->head] = sample;
    rb->head = (uint8_t)((rb->head + 1) % RB_CAPACITY);
    rb->count++;
    return 0;
}

int rb_pop(ringbuf_t *rb, int16_t *out)
{
    if (out == NULL || rb->count == 0)
        return -1;
    *out = rb->data[rb->tail];
    rb->tail = (uint8_t)((rb->tail + 1) % RB_CAPACITY);
    rb->count--;
    return 0;
}

uint8_t rb_count(const ringbuf_t *rb)
{
    return rb->count;
}
