#pragma once

struct isotime {
    short zone_offset : 12;
    unsigned short zone_flag : 4;
    unsigned short year;
    unsigned char month, day, hour, minute, second, hundredths, ten_thousandths, millionths;
    unsigned int reserved;
};
