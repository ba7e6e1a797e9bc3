#include "ring.h"

#include <stddef.h>

void ring_init(ring_t* ring)
{
    ring->head = 0;
    ring->count = 0;
    ring->level = 0.0;
    for (int i = 0; i < RING_SIZE; ++i)
        ring->data[i] = 0;
}

int ring_push(ring_t* ring, int value)
{
    if (ring->count == RING_SIZE)
        return -1;
    if (uart_send(1, value) != 0)
        return -1;
    ring->data[(ring->head + ring->count) % RING_SIZE] = value;
    ++ring->count;
    ring->level = (double)ring->count / RING_SIZE;
    return 0;
}

int ring_pop(ring_t* ring, int* value)
{
    if (ring->count == 0)
        return -1;
    *value = ring->data[ring->head];
    ring->head = (ring->head + 1) % RING_SIZE;
    --ring->count;
    ring->level = (double)ring->count / RING_SIZE;
    return 0;
}

void ring_flush(ring_t* ring)
{
    while (uart_busy())
        ;
    ring->count = 0;
}
