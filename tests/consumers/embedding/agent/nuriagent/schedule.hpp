#pragma once

#include <string>

struct cronblk {
    unsigned int minutes_low, minutes_high, hours, days, months, weekdays;
};

struct IntervalSet {
    unsigned char start_hour, end_hour, step_hours;
};

int pln_str2crn(cronblk* record, const std::string& text);
std::string pln_crn2str(const cronblk* record);
int pln_ent2msk(unsigned int* mask, const std::string& field, unsigned int low, unsigned int high,
                bool unused);
int pln_ent2msk64(unsigned int* low_word, unsigned int* high_word, const std::string& field,
                  unsigned int count);
