/* A ring buffer of four values that reports each value it stores to the
 * serial line. */
#ifndef RING_H
#define RING_H

#define RING_SIZE 4

typedef struct {
    int data[RING_SIZE];
    int head;
    int count;
    double level; /* count / RING_SIZE */
} ring_t;

void ring_init(ring_t* ring);
/* 0 when stored, -1 when full or when the line refused the value. */
int ring_push(ring_t* ring, int value);
/* The oldest value into *value: 0, or -1 when empty. */
int ring_pop(ring_t* ring, int* value);
/* Never returns while the line is busy. */
void ring_flush(ring_t* ring);

/* The serial line, which the tests replace by stubs. */
int uart_send(int port, int value);
int uart_busy(void);

#endif
