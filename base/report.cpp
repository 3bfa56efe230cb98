#include <base/report.h>

volatile int64_t gpuRender_framecnt;
