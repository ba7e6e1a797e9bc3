/* The device simulated on the host: a heated mass that loses heat to the
 * room, and a sensor that can be made to fail. */
#include "hw.h"

#include <stdio.h>

static double temperature = 200.0; /* tenths of a degree: 20.0 degrees */
static uint8_t heater;
static int failing_reads;
static int alarm_on;

void sim_fail_sensor(int reads)
{
    failing_reads = reads;
}

int sim_alarm(void)
{
    return alarm_on;
}

int16_t hw_read_temperature(void)
{
    if (failing_reads > 0) {
        failing_reads--;
        return INT16_MIN;
    }
    /* 1 degree per 10 percent of heater per period, 2% of the excess lost to the room. */
    temperature += heater * 0.1 - (temperature - 200.0) * 0.02;
    return (int16_t)temperature;
}

void hw_set_heater(uint8_t percent)
{
    heater = percent;
}

void hw_alarm(int on)
{
    if (on && !alarm_on)
        printf("alarm raised\n");
    alarm_on = on;
}
