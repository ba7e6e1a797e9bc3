#include "crc16.h"

uint16_t crc16_update(uint16_t crc, const uint8_t *data, size_t length)
{
    for (size_t i = 0; i < length; ++i) {
        crc ^= (uint16_t)(data[i] << 8);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000u) ? (uint16_t)((crc << 1) ^ 0x1021u) : (uint16_t)(crc << 1);
    }
    return crc;
}

uint16_t crc16(const uint8_t *data, size_t length)
{
    return crc16_update(0xFFFFu, data, length);
}

int crc16_frame_ok(const uint8_t *frame, size_t length)
{
    if (frame == 0 || length < 3)
        return 0;
    const uint16_t expected = (uint16_t)((frame[length - 2] << 8) | frame[length - 1]);
    return crc16(frame, length - 2) == expected;
}
