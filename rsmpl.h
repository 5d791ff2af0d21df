/* rsmpl.h - all of rsmpl that is plain C, by one name; each header below can be used alone.
 *
 *     #include "rsmpl.h"
 *
 *     api/resample_api.h                 blocks of 16-bit PCM, 48 to 16 kHz, in three calls
 *     stream/rsmpl_stream.h              any rates, any block length, 16 bits or float; link
 *                                        librsmpl_stream too
 *     iir/Resample_Rsmpl_IIR_api.h       2:3 1:2 1:3 1:4 1:6 and their inverses on float blocks
 *     iir/Resample_IIRFilterDesign.h     the stages behind those, and their coefficients
 *     design/Resample_FIRFilterDesign.h  FIR filters designed by band edges
 *     fir/Resample_FIRFiltering.h        FIR filters run, at one rate or at L / M times it
 *     convert/Resample_DatTypeConvert.h  16-bit, float and wide samples
 *     design/Resample_WinFunc.h          Blackman, Hamming and Hanning windows
 *     spectral/Resample_Complex.h        complex arithmetic
 *
 * C++ has three more, for themselves: spectral/Resample_CFFT.h, fir/Resample_GeneralResampler.h and
 * fir/Resample_iMalloc.h. */
#ifndef RSMPL_RSMPL_H
#define RSMPL_RSMPL_H

#include "api/resample_api.h"
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "design/Resample_WinFunc.h"
#include "fir/Resample_FIRFiltering.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "spectral/Resample_Complex.h"
#include "stream/rsmpl_stream.h"

#endif
