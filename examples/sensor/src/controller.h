/* The temperature controller: it warms up to the set point, holds it with a
 * proportional-integral heater command, and goes to the fault state when the sensor
 * fails or the temperature runs away. */
#ifndef SENSOR_CONTROLLER_H
#define SENSOR_CONTROLLER_H

#include "filter.h"

#include <stdint.h>

typedef enum { CTL_IDLE, CTL_WARMUP, CTL_RUN, CTL_FAULT } ctl_state_t;

typedef struct {
    ctl_state_t state;
    int16_t setpoint;    /* tenths of a degree */
    int16_t temperature; /* filtered, tenths of a degree */
    uint8_t heater;      /* percent */
    uint8_t bad_reads;   /* consecutive failed reads */
    int32_t integral;    /* sum of the errors, for the steady heat loss */
    lowpass_t filter;
} controller_t;

#define CTL_MAX_BAD_READS 3
#define CTL_OVERHEAT_MARGIN 50 /* 5.0 degrees above the set point */
#define CTL_BAND 10            /* within 1.0 degree counts as reached */

void ctl_init(controller_t *c, int16_t setpoint);
void ctl_start(controller_t *c);
/* One control period: reads the sensor, filters, commands the heater. */
ctl_state_t ctl_step(controller_t *c);
/* A fault is left only through a reset, which goes back to idle. */
void ctl_reset(controller_t *c);
const char *ctl_state_name(ctl_state_t state);

#endif
