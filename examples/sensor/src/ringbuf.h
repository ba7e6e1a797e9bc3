/* A ring buffer of 16-bit samples with a fixed capacity: the producer is the
 * sampling interrupt, the consumer the control loop. */
#ifndef SENSOR_RINGBUF_H
#define SENSOR_RINGBUF_H

#include <stdint.h>

#define RB_CAPACITY 8

typedef struct {
    int16_t data[RB_CAPACITY];
    uint8_t head;  /* next slot to write */
    uint8_t tail;  /* next slot to read */
    uint8_t count;
    uint16_t overruns; /* samples dropped because the buffer was full */
} ringbuf_t;

void rb_init(ringbuf_t *rb);
/* 0 when stored, -1 when the buffer is full (the sample is dropped and counted). */
int rb_push(ringbuf_t *rb, int16_t sample);
/* 0 and the oldest sample in *out, -1 when empty or out is null. */
int rb_pop(ringbuf_t *rb, int16_t *out);
uint8_t rb_count(const ringbuf_t *rb);

#endif
