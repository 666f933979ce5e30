// The tracepoints of the LTTng-UST peer. Read several times by LTTng's own headers, hence no
// #pragma once.

#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER oru_bench
#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "bench/LttngProvider.h"

#if !defined(ORU_BENCH_LTTNG_PROVIDER_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define ORU_BENCH_LTTNG_PROVIDER_H

#include <lttng/tracepoint.h>

LTTNG_UST_TRACEPOINT_EVENT(oru_bench, none, LTTNG_UST_TP_ARGS(), LTTNG_UST_TP_FIELDS())

LTTNG_UST_TRACEPOINT_EVENT(oru_bench, number, LTTNG_UST_TP_ARGS(double, value),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_float(double, value, value)))

LTTNG_UST_TRACEPOINT_EVENT(oru_bench, text, LTTNG_UST_TP_ARGS(char const*, name, double, value),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_string(name, name)
                                                   lttng_ust_field_float(double, value, value)))

#endif

#include <lttng/tracepoint-event.h>
