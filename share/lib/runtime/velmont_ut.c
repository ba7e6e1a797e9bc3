/* The run-time part of component test harnesses.
 *
 * Each selected test runs in a child process of its own, so that a test that
 * crashes the unit or loops for ever is that test's failure and the others
 * still run. The child writes what failed to a file the parent reads when it
 * has ended; the parent writes one result line per test.
 *
 *   harness RESULT_FILE
 *
 * The result file holds tab-separated lines:
 *   R script                              (first, once)
 *   T service test family line verdict seconds signal
 *   C variable expected obtained line     (a failed check of the test above)
 *   S function expected obtained line     (a stub called another number of times)
 * Standard output gets the same in words, one line per test and one per failure. */
#define _GNU_SOURCE
#include "velmont_ut.h"

#include <errno.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

/* Present when the unit is compiled for coverage (the coverage run-time
 * library pulls it in): a test's child leaves by _exit, which writes no
 * coverage data, so it writes its own before; the data files add up. */
extern void __gcov_dump(void) __attribute__((weak));

static FILE* failures;         /* the running test's failures, in the child */
static const char* scriptFile; /* the script, for the messages */
static volatile sig_atomic_t runningChild;

/* A field of a result line: tabs and line ends would break the line. */
static void field(FILE* out, const char* text)
{
    for (; *text; ++text)
        fputc(*text == '\t' || *text == '\n' || *text == '\r' ? ' ' : *text, out);
}

static void failure(char kind, const char* name, const char* expected, const char* obtained, int line)
{
    if (!failures)
        return;
    fprintf(failures, "%c\t", kind);
    field(failures, name);
    fputc('\t', failures);
    field(failures, expected);
    fputc('\t', failures);
    field(failures, obtained);
    fprintf(failures, "\t%d\n", line);
}

void vt_check_int(const char* variable, long long obtained, long long expected, const char* text, int line)
{
    (void)text;
    if (obtained == expected)
        return;
    char e[32], o[32];
    snprintf(e, sizeof e, "%lld", expected);
    snprintf(o, sizeof o, "%lld", obtained);
    failure('C', variable, e, o, line);
}

void vt_check_uint(const char* variable, unsigned long long obtained, unsigned long long expected, const char* text,
                   int line)
{
    (void)text;
    if (obtained == expected)
        return;
    char e[32], o[32];
    snprintf(e, sizeof e, "%llu", expected);
    snprintf(o, sizeof o, "%llu", obtained);
    failure('C', variable, e, o, line);
}

void vt_check_double(const char* variable, long double obtained, long double expected, const char* text, int line)
{
    (void)text;
    if (obtained == expected)
        return;
    char e[48], o[48];
    snprintf(e, sizeof e, "%.17Lg", expected);
    snprintf(o, sizeof o, "%.17Lg", obtained);
    failure('C', variable, e, o, line);
}

void vt_check_near(const char* variable, long double obtained, long double expected, long double tolerance,
                   const char* text, int line)
{
    long double gap = obtained > expected ? obtained - expected : expected - obtained;
    if (gap <= tolerance)
        return;
    char o[48];
    snprintf(o, sizeof o, "%.17Lg", obtained);
    failure('C', variable, text, o, line);
}

void vt_check_string(const char* variable, const char* obtained, const char* expected, const char* text, int line)
{
    (void)text;
    if (obtained == expected || (obtained && expected && strcmp(obtained, expected) == 0))
        return;
    char e[256], o[256];
    snprintf(e, sizeof e, expected ? "\"%s\"" : "%s", expected ? expected : "NULL");
    snprintf(o, sizeof o, obtained ? "\"%s\"" : "%s", obtained ? obtained : "NULL");
    failure('C', variable, e, o, line);
}

void vt_check_pointer(const char* variable, const void* obtained, const void* expected, const char* text, int line)
{
    (void)text;
    if (obtained == expected)
        return;
    char e[32], o[32];
    snprintf(e, sizeof e, expected ? "%p" : "NULL", expected);
    snprintf(o, sizeof o, obtained ? "%p" : "NULL", obtained);
    failure('C', variable, e, o, line);
}

void vt_range_int(const char* variable, long long obtained, long long low, long long high, const char* text, int line)
{
    if (obtained >= low && obtained <= high)
        return;
    char o[32];
    snprintf(o, sizeof o, "%lld", obtained);
    failure('C', variable, text, o, line);
}

void vt_range_double(const char* variable, long double obtained, long double low, long double high, const char* text,
                     int line)
{
    if (obtained >= low && obtained <= high)
        return;
    char o[48];
    snprintf(o, sizeof o, "%.17Lg", obtained);
    failure('C', variable, text, o, line);
}

void vt_stub_count(const char* function, int expected, int obtained, int line)
{
    if (obtained == expected)
        return;
    char e[16], o[16];
    snprintf(e, sizeof e, "%d", expected);
    snprintf(o, sizeof o, "%d", obtained);
    failure('S', function, e, o, line);
}

void vt_stub_missing(const char* function, int call, int calls, int line)
{
    char e[32], o[16];
    snprintf(e, sizeof e, "at least %d", call);
    snprintf(o, sizeof o, "%d", calls);
    failure('S', function, e, o, line);
}

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

/* A stop ends the running test with the harness. */
static void onTerminate(int signal)
{
    if (runningChild > 0)
        kill((pid_t)runningChild, SIGKILL);
    _exit(128 + signal);
}

static const char* verdictOf(int status, int* signal)
{
    *signal = 0;
    if (WIFSIGNALED(status)) {
        *signal = WTERMSIG(status);
        return *signal == SIGALRM ? "timeout" : "crashed";
    }
    return WEXITSTATUS(status) == 0 ? "ok" : "failed";
}

/* Runs one test in a child; its verdict, with the failures copied to the
 * result file and, in words, to standard output. */
static int runTest(const vt_test* test, int limit, FILE* result)
{
    FILE* record = tmpfile();
    if (!record) {
        fprintf(stderr, "%s: cannot make a temporary file: %s\n", scriptFile, strerror(errno));
        return 0;
    }
    fflush(stdout);
    fflush(result);
    const double start = now();
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGTERM, SIG_DFL);
        setvbuf(record, NULL, _IONBF, 0);
        failures = record;
        alarm((unsigned)limit);
        test->run();
        if (__gcov_dump)
            __gcov_dump();
        /* A failure was written: the verdict is the parent's to give. */
        _exit(ftell(record) > 0 ? 1 : 0);
    }
    if (child < 0) {
        fprintf(stderr, "%s: cannot start test %s.%s: %s\n", scriptFile, test->service, test->name, strerror(errno));
        fclose(record);
        return 0;
    }
    runningChild = child;
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    runningChild = 0;
    const double seconds = now() - start;
    int signal = 0;
    const char* verdict = verdictOf(status, &signal);
    char name[24] = "";
    if (signal)
        snprintf(name, sizeof name, "SIG%s", sigabbrev_np(signal) ? sigabbrev_np(signal) : "?");
    fprintf(result, "T\t%s\t%s\t%s\t%d\t%s\t%.6f\t%s\n", test->service, test->name, test->family, test->line, verdict,
            seconds, name);
    printf("%s:%d: %s.%s: %s%s%s%s\n", scriptFile, test->line, test->service, test->name, verdict,
           signal ? " (" : "", name, signal ? ")" : "");

    rewind(record);
    char line[2048];
    while (fgets(line, sizeof line, record)) {
        fputs(line, result);
        line[strcspn(line, "\n")] = 0;
        char* fields[5] = {0};
        char* cursor = line;
        for (int i = 0; i < 5 && cursor; ++i) {
            fields[i] = strsep(&cursor, "\t");
        }
        if (!fields[4])
            continue;
        if (fields[0][0] == 'C')
            printf("%s:%s: %s.%s: %s Expected %s Was %s\n", scriptFile, fields[4], test->service, test->name,
                   fields[1], fields[2], fields[3]);
        else
            printf("%s:%s: %s.%s: stub %s Expected %s call(s) Was %s\n", scriptFile, fields[4], test->service,
                   test->name, fields[1], fields[2], fields[3]);
    }
    fclose(record);
    fflush(result);
    return strcmp(verdict, "ok") == 0;
}

int vt_main(int argc, char** argv, const char* script, const vt_test* tests, int count, int limit)
{
    scriptFile = script;
    /* Each line reaches the console and the split file as the test ends. */
    setvbuf(stdout, NULL, _IOLBF, 0);
    if (argc != 2) {
        fprintf(stderr, "usage: %s RESULT_FILE\n", argv[0]);
        return 2;
    }
    FILE* result = fopen(argv[1], "w");
    if (!result) {
        fprintf(stderr, "%s: cannot write %s: %s\n", argv[0], argv[1], strerror(errno));
        return 2;
    }
    fprintf(result, "R\t%s\n", script);
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = onTerminate;
    sigaction(SIGTERM, &action, NULL);
    sigaction(SIGINT, &action, NULL);
    int ran = 0, passed = 0;
    for (int i = 0; i < count; ++i) {
        if (!tests[i].selected)
            continue;
        ++ran;
        passed += runTest(&tests[i], limit, result);
    }
    fclose(result);
    printf("%d test(s), %d passed, %d failed\n", ran, passed, ran - passed);
    return ran > 0 && passed == ran ? 0 : 1;
}
