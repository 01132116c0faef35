#pragma once

// The rate of a terminal in baud, as the kernel has it; also one that the C library cannot name.
unsigned lineRate(int descriptor);
