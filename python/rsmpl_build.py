"""What the package calls in C.  The compiler checks these declarations against the headers."""
import cffi

HEADERS = """
#include "api/resample_api.h"
#include "design/Resample_FIRFilterDesign.h"
#include "python/blocks.h"
"""

DECLARATIONS = """
typedef struct rsmpl_stream rsmpl_stream;
typedef enum { RSMPL_ENGINE_AUTO, RSMPL_ENGINE_IIR, RSMPL_ENGINE_FIR, ... } rsmpl_engine;
typedef enum { RSMPL_STREAM_OK, RSMPL_STREAM_BAD_RATES, RSMPL_STREAM_NO_MEMORY,
               ... } rsmpl_stream_status;
#define RSMPL_STREAM_ALIGNED ...
#define RSMPL_STREAM_MOST_CHANNELS ...
#define RSMPL_STREAM_MOST_RATIO ...
typedef struct { rsmpl_engine engine; int in_rate, out_rate, up, down; ...; } rsmpl_stream_info;
rsmpl_stream_status rsmpl_stream_open(rsmpl_stream** stream, int channels, int in_rate,
                                      int out_rate, rsmpl_engine engine, unsigned flags);
void rsmpl_stream_close(rsmpl_stream* stream);
double rsmpl_stream_delay(const rsmpl_stream* stream);
uint64_t rsmpl_stream_clipped(const rsmpl_stream* stream);
void rsmpl_stream_describe(const rsmpl_stream* stream, rsmpl_stream_info* info);
const char* rsmpl_stream_message(rsmpl_stream_status status);

typedef enum { RSMPL_INT16, RSMPL_INT32, RSMPL_FLOAT32, RSMPL_FLOAT64 } rsmpl_sample;
typedef struct { void* data; ptrdiff_t frame, channel; } rsmpl_signal;
typedef struct { size_t waiting; uint64_t clipped; } rsmpl_tally;
void rsmpl_blocks_reset(rsmpl_stream* stream, rsmpl_tally* tally);
int rsmpl_blocks_run(rsmpl_stream* stream, rsmpl_tally* tally, rsmpl_sample type,
                     const rsmpl_signal* in, size_t frames, const rsmpl_signal* out, int last);
void rsmpl_smooth(const short* in, size_t frames, size_t channels, double a, double b,
                  double* memory, short* out);

typedef struct resample_handle resample_handle;
resample_handle* resample_init(int ch_num, int in_rate, int out_rate, int samples_per_ch);
int resample_process(resample_handle* handle, const short* in, short* out, int len);
void resample_exit(resample_handle* handle);

typedef enum { WIN_NONE, WIN_BLACKMAN, WIN_HAMMING, WIN_HANNING, ... } General_WindowType;
int GeneralFIRFractionalDelay(float* out, int len, General_WindowType type, float delay);
int GeneralFIRLowpass(float* out, int len, General_WindowType type, float fc);
int GeneralFIRHighpass(float* out, int len, General_WindowType type, float fc);
int GeneralFIRBandpass(float* out, int len, General_WindowType type, float f1, float f2);
"""

ffibuilder = cffi.FFI()
ffibuilder.cdef(DECLARATIONS)
# The limited interface of Python 3.9, which later ones keep.
ffibuilder.set_source("rsmpl._native", HEADERS, py_limited_api=True,
                      define_macros=[("Py_LIMITED_API", "0x03090000")])
