/* The simulation of the device: samples go through the ring buffer in CRC
 * framed packets, the controller warms the mass up to 45.0 degrees, a sensor
 * failure drives it to the fault state, and a reset brings it back. */
#include "controller.h"
#include "crc16.h"
#include "ringbuf.h"

#include <stdio.h>

void sim_fail_sensor(int reads);
int sim_alarm(void);

static int send_frame(ringbuf_t *link, int16_t value)
{
    uint8_t frame[4] = {(uint8_t)(value >> 8), (uint8_t)value, 0, 0};
    const uint16_t crc = crc16(frame, 2);
    frame[2] = (uint8_t)(crc >> 8);
    frame[3] = (uint8_t)crc;
    if (!crc16_frame_ok(frame, sizeof frame))
        return -1;
    return rb_push(link, value);
}

int main(void)
{
    controller_t ctl;
    ringbuf_t link;
    rb_init(&link);
    ctl_init(&ctl, 450);
    ctl_start(&ctl);

    int reached_at = -1;
    for (int period = 0; period < 200; ++period) {
        if (period == 150)
            sim_fail_sensor(CTL_MAX_BAD_READS);
        const ctl_state_t state = ctl_step(&ctl);
        if (state == CTL_RUN && reached_at < 0)
            reached_at = period;
        if (send_frame(&link, ctl.temperature) != 0) {
            int16_t oldest;
            rb_pop(&link, &oldest); /* the host reads a frame when the link is full */
            send_frame(&link, ctl.temperature);
        }
        if (period % 25 == 0)
            printf("period %3d: %-6s %5.1f degrees, heater %3u%%\n", period, ctl_state_name(state),
                   ctl.temperature / 10.0, ctl.heater);
    }
    printf("set point reached after %d periods; final state %s, alarm %s\n", reached_at,
           ctl_state_name(ctl.state), sim_alarm() ? "on" : "off");
    ctl_reset(&ctl);
    printf("after reset: %s, alarm %s\n", ctl_state_name(ctl.state), sim_alarm() ? "on" : "off");
    return reached_at >= 0 && sim_alarm() == 0 ? 0 : 1;
}
