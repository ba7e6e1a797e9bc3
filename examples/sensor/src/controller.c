#include "controller.h"

#include "hw.h"

#include <stddef.h>

#define INTEGRAL_LIMIT (100 * 64)

static uint8_t heater_command(controller_t *c)
{
    const int32_t error = (int32_t)c->setpoint - c->temperature;
    /* The integral stops growing at full power, so that it does not wind up
     * during the warm-up and overshoot. */
    c->integral += error;
    if (c->integral > INTEGRAL_LIMIT)
        c->integral = INTEGRAL_LIMIT;
    if (c->integral < 0)
        c->integral = 0;
    const int32_t percent = error / 2 + c->integral / 64;
    if (percent <= 0)
        return 0;
    return (uint8_t)(percent > 100 ? 100 : percent);
}

static void enter_fault(controller_t *c)
{
    c->state = CTL_FAULT;
    c->heater = 0;
    hw_set_heater(0);
    hw_alarm(1);
}

void ctl_init(controller_t *c, int16_t setpoint)
{
    c->state = CTL_IDLE;
    c->setpoint = setpoint;
    c->temperature = 0;
    c->heater = 0;
    c->bad_reads = 0;
    c->integral = 0;
    lp_init(&c->filter, 8192); /* alpha 0.25 */
}

void ctl_start(controller_t *c)
{
    if (c->state == CTL_IDLE)
        c->state = CTL_WARMUP;
}

ctl_state_t ctl_step(controller_t *c)
{
    if (c->state == CTL_IDLE || c->state == CTL_FAULT)
        return c->state;
    const int16_t raw = hw_read_temperature();
    if (raw == INT16_MIN) {
        if (++c->bad_reads >= CTL_MAX_BAD_READS)
            enter_fault(c);
        return c->state;
    }
    c->bad_reads = 0;
    c->temperature = lp_step(&c->filter, raw);
    if (c->temperature > c->setpoint + CTL_OVERHEAT_MARGIN) {
        enter_fault(c);
        return c->state;
    }
    if (c->state == CTL_WARMUP && c->temperature >= c->setpoint - CTL_BAND)
        c->state = CTL_RUN;
    c->heater = heater_command(c);
    hw_set_heater(c->heater);
    return c->state;
}

void ctl_reset(controller_t *c)
{
    hw_alarm(0);
    ctl_init(c, c->setpoint);
}

const char *ctl_state_name(ctl_state_t state)
{
    static const char *const names[] = {"idle", "warmup", "run", "fault"};
    return (unsigned)state < sizeof names / sizeof names[0] ? names[state] : "?";
}
