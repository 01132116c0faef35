#include "protocol/device.h"

// Built without fused multiply-add, so that all platforms give the same bits: products in single
// precision as the device sends the numbers, everything after that in double.
void transformToMatrix(const float* transform, double* matrix) {
    const float w = transform[0];
    const float x = transform[1];
    const float y = transform[2];
    const float z = transform[3];
    const auto product = [](float a, float b) { return static_cast<double>(a * b); };

    const double ww = product(w, w);
    const double xx = product(x, x);
    const double yy = product(y, y);
    const double zz = product(z, z);
    const double s = 2.0 / (ww + xx + yy + zz);
    const double h = (ww - xx - yy - zz) / 2.0;

    matrix[0] = (h + xx) * s;
    matrix[1] = (product(x, y) + product(z, w)) * s;
    matrix[2] = (product(x, z) - product(y, w)) * s;
    matrix[3] = 0.0;
    matrix[4] = (product(x, y) - product(z, w)) * s;
    matrix[5] = (h + yy) * s;
    matrix[6] = (product(y, z) + product(x, w)) * s;
    matrix[7] = 0.0;
    matrix[8] = (product(x, z) + product(y, w)) * s;
    matrix[9] = (product(y, z) - product(x, w)) * s;
    matrix[10] = (h + zz) * s;
    matrix[11] = 0.0;
    matrix[12] = transform[4];
    matrix[13] = transform[5];
    matrix[14] = transform[6];
    matrix[15] = 1.0;
}
