#pragma once

struct sha1_context {
    unsigned int length;
};

void sha1_begin(sha1_context* context);
void sha1_hash(const unsigned char* data, unsigned int length, sha1_context* context);
void sha1_end(unsigned char* digest, sha1_context* context);
