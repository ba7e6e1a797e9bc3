/* The hardware the controller drives: on the device these are register
 * accesses; the simulation and the unit tests provide their own. */
#ifndef SENSOR_HW_H
#define SENSOR_HW_H

#include <stdint.h>

/* The raw temperature in tenths of a degree, or INT16_MIN when the ADC failed. */
int16_t hw_read_temperature(void);
/* Heater power in percent, 0 to 100. */
void hw_set_heater(uint8_t percent);
/* Raises the alarm line. */
void hw_alarm(int on);

#endif
