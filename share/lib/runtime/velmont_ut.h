/* The run-time part of component test harnesses: the checks a test makes
 * and the loop that runs each test in a child process of its own. */
#ifndef VELMONT_UT_H
#define VELMONT_UT_H

/* The calls of one stub whose arguments and return values are kept. */
#define VT_STUB_CALLS 64

typedef struct {
    const char* service;
    const char* name;
    const char* family;
    int line;
    void (*run)(void);
    int selected;
} vt_test;

void vt_check_int(const char* variable, long long obtained, long long expected, const char* text, int line);
void vt_check_uint(const char* variable, unsigned long long obtained, unsigned long long expected, const char* text,
                   int line);
void vt_check_double(const char* variable, long double obtained, long double expected, const char* text, int line);
void vt_check_near(const char* variable, long double obtained, long double expected, long double tolerance,
                   const char* text, int line);
void vt_check_string(const char* variable, const char* obtained, const char* expected, const char* text, int line);
void vt_check_pointer(const char* variable, const void* obtained, const void* expected, const char* text, int line);
void vt_range_int(const char* variable, long long obtained, long long low, long long high, const char* text, int line);
void vt_range_double(const char* variable, long double obtained, long double low, long double high, const char* text,
                     int line);
void vt_stub_count(const char* function, int expected, int obtained, int line);
void vt_stub_missing(const char* function, int call, int calls, int line);

int vt_main(int argc, char** argv, const char* script, const vt_test* tests, int count, int limit);

/* A check by the type of the variable: integers, floating point numbers,
 * strings, pointers. Adding 0 turns an array into its first element's
 * address and a character into an int, as C compares them. */
#define VT_CHECK(variable, obtained, expected, text, line)                                                \
    do {                                                                                                  \
        __typeof__((obtained) + 0) vt_obtained_ = (obtained);                                             \
        __typeof__((obtained) + 0) vt_expected_ = (expected);                                             \
        _Generic(vt_obtained_,                                                                            \
            float: vt_check_double(variable, *(float*)&vt_obtained_, *(float*)&vt_expected_, text, line), \
            double: vt_check_double(variable, *(double*)&vt_obtained_, *(double*)&vt_expected_, text, line), \
            long double: vt_check_double(variable, *(long double*)&vt_obtained_,                          \
                                         *(long double*)&vt_expected_, text, line),                       \
            int: vt_check_int(variable, *(int*)&vt_obtained_, *(int*)&vt_expected_, text, line),          \
            long: vt_check_int(variable, *(long*)&vt_obtained_, *(long*)&vt_expected_, text, line),       \
            long long: vt_check_int(variable, *(long long*)&vt_obtained_, *(long long*)&vt_expected_, text, line), \
            unsigned: vt_check_uint(variable, *(unsigned*)&vt_obtained_, *(unsigned*)&vt_expected_, text, line), \
            unsigned long: vt_check_uint(variable, *(unsigned long*)&vt_obtained_,                        \
                                         *(unsigned long*)&vt_expected_, text, line),                     \
            unsigned long long: vt_check_uint(variable, *(unsigned long long*)&vt_obtained_,              \
                                              *(unsigned long long*)&vt_expected_, text, line),           \
            char*: vt_check_string(variable, *(const char**)&vt_obtained_, *(const char**)&vt_expected_, text, line), \
            const char*: vt_check_string(variable, *(const char**)&vt_obtained_,                          \
                                         *(const char**)&vt_expected_, text, line),                       \
            default: vt_check_pointer(variable, *(const void**)&vt_obtained_, *(const void**)&vt_expected_, \
                                      text, line));                                                       \
    } while (0)

#define VT_RANGE(variable, obtained, low, high, text, line)                                            \
    do {                                                                                               \
        __typeof__((obtained) + 0) vt_obtained_ = (obtained);                                          \
        _Generic(vt_obtained_,                                                                         \
            float: vt_range_double(variable, *(float*)&vt_obtained_, (low), (high), text, line),       \
            double: vt_range_double(variable, *(double*)&vt_obtained_, (low), (high), text, line),     \
            long double: vt_range_double(variable, *(long double*)&vt_obtained_, (low), (high), text, line), \
            default: vt_range_int(variable, (long long)vt_obtained_, (low), (high), text, line));      \
    } while (0)

#endif
