/* CRC-16 with the polynomial 0x1021, initial value 0xFFFF, no reflection:
 * the check word of the frames the sensor sends over its serial link. */
#ifndef SENSOR_CRC16_H
#define SENSOR_CRC16_H

#include <stddef.h>
#include <stdint.h>

uint16_t crc16(const uint8_t *data, size_t length);
/* Continues a CRC over more bytes, so that a frame can be checked in pieces. */
uint16_t crc16_update(uint16_t crc, const uint8_t *data, size_t length);
/* 1 when the last two bytes of the frame (big-endian) are the CRC of the rest. */
int crc16_frame_ok(const uint8_t *frame, size_t length);

#endif
