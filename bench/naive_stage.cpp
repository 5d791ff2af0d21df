#include "bench/naive_stage.h"

void NAIVE_FORM(const float* table, const float* in, float* out, float* ctx, int len)
{
    double a[4], b[4], c[4], p[4], q[4];
    for (int k = 0; k < 4; ++k) {
        a[k] = table[1 + 3 * k];
        b[k] = table[2 + 3 * k];
        c[k] = table[3 + 3 * k];
        p[k] = ctx[1 + 2 * k];
        q[k] = ctx[2 + 2 * k];
    }
    for (int i = 0; i < len; ++i) {
        double w = in[i];
        for (int k = 0; k < 4; ++k) {
            w = w + a[k] * p[k] + b[k] * q[k];
            const double next = w - (c[k] * p[k] + q[k]);
            q[k] = p[k];
            p[k] = next;
        }
        if (i % 3 == 0)
            out[i / 3] = static_cast<float>(table[0] * w);
    }
    for (int k = 0; k < 4; ++k) {
        ctx[1 + 2 * k] = static_cast<float>(p[k]);
        ctx[2 + 2 * k] = static_cast<float>(q[k]);
    }
}
