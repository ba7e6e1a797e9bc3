/*
 * The run-time library of instrumented programs. While the program runs it
 * appends records to the split file that the studio follows; every record
 * is one line, written with one write() on a file opened for appending, so
 * that a reader sees it at once and never half of it. The record forms are
 * described in doc/runtime-records.md of the installation.
 *
 * The program is compiled with -finstrument-functions, which calls the two
 * hooks below at every function entry and exit, and with --coverage for the
 * lines and branches, which are read from gcc's own data when the program
 * ends. Nothing here may itself be instrumented.
 *
 * Environment:
 *   VELMONT_SPLIT_FILE   the split file; without it the library stays silent
 *   VELMONT_RT_MODES     letters: "t" trace records, "c" coverage records
 *   VELMONT_COVERAGE_DIR the directory of the objects and their coverage data
 *   VELMONT_GCOV         the gcov program (default "gcov")
 */

#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#define NO_HOOK __attribute__((no_instrument_function))

void __cyg_profile_func_enter(void* function, void* site) NO_HOOK;
void __cyg_profile_func_exit(void* function, void* site) NO_HOOK;
/* gcc's coverage library writes its data in a destructor that runs after
 * the last one a program may declare. A program linked with --coverage
 * takes the variant of this library compiled with VELMONT_RT_COVERAGE,
 * which asks for the data early; a weak reference would not pull the dump
 * out of the static coverage library. */
#ifdef VELMONT_RT_COVERAGE
extern void __gcov_dump(void);
#define dumpCoverage() (__gcov_dump(), 1)
#else
#define dumpCoverage() 0
#endif

static int splitFd = -1;
static int traceOn;
static int coverageOn;
static struct timespec startTime;
static __thread int depth;
static __thread int inHook;

/* Names of the functions met, by address: resolved once per function. */
#define NAME_SLOTS 4096
static struct {
    void* address;
    char* name;
    int reached;
} names[NAME_SLOTS];
static pthread_mutex_t namesLock = PTHREAD_MUTEX_INITIALIZER;

static NO_HOOK long long elapsedNs(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (long long)(now.tv_sec - startTime.tv_sec) * 1000000000LL + (now.tv_nsec - startTime.tv_nsec);
}

static NO_HOOK void writeRecord(const char* text, size_t length)
{
    while (length > 0 && splitFd >= 0) {
        ssize_t written = write(splitFd, text, length);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text += written;
        length -= (size_t)written;
    }
}

static NO_HOOK void record(const char* format, ...) __attribute__((format(printf, 1, 2)));
static NO_HOOK void record(const char* format, ...)
{
    char line[4096];
    va_list arguments;
    va_start(arguments, format);
    int length = vsnprintf(line, sizeof line - 1, format, arguments);
    va_end(arguments);
    if (length < 0)
        return;
    if ((size_t)length > sizeof line - 2)
        length = (int)sizeof line - 2;
    /* A record is one line, whatever a name holds. */
    for (int i = 0; i < length; ++i) {
        if (line[i] == '\n' || line[i] == '\r')
            line[i] = ' ';
    }
    line[length++] = '\n';
    writeRecord(line, (size_t)length);
}

/* The slot of the function at \a address, filled on first sight. The name is
 * the symbol's, or the address in the module with the module's file name
 * when the symbol is not exported (a program linked without -rdynamic). */
static NO_HOOK int functionSlot(void* address, const char** name)
{
    size_t slot = ((uintptr_t)address >> 4) % NAME_SLOTS;
    for (size_t probe = 0; probe < NAME_SLOTS; ++probe, slot = (slot + 1) % NAME_SLOTS) {
        if (names[slot].address == address) {
            *name = names[slot].name;
            return (int)slot;
        }
        if (names[slot].address)
            continue;
        Dl_info info;
        char text[512];
        if (dladdr(address, &info) && info.dli_sname)
            snprintf(text, sizeof text, "%s", info.dli_sname);
        else if (dladdr(address, &info) && info.dli_fname)
            snprintf(text, sizeof text, "%s+0x%lx", info.dli_fname,
                     (unsigned long)((uintptr_t)address - (uintptr_t)info.dli_fbase));
        else
            snprintf(text, sizeof text, "%p", address);
        names[slot].name = strdup(text);
        names[slot].address = address;
        *name = names[slot].name ? names[slot].name : "?";
        return (int)slot;
    }
    *name = "?";
    return -1;
}

void __cyg_profile_func_enter(void* function, void* site)
{
    (void)site;
    if (splitFd < 0 || inHook)
        return;
    inHook = 1;
    const char* name;
    pthread_mutex_lock(&namesLock);
    int slot = functionSlot(function, &name);
    int first = slot >= 0 && !names[slot].reached;
    if (first)
        names[slot].reached = 1;
    pthread_mutex_unlock(&namesLock);
    if (coverageOn && first)
        record("FT %s", name);
    if (traceOn)
        record("BA %lld %d %s", elapsedNs(), depth, name);
    ++depth;
    inHook = 0;
}

void __cyg_profile_func_exit(void* function, void* site)
{
    (void)site;
    if (splitFd < 0 || inHook)
        return;
    inHook = 1;
    if (depth > 0)
        --depth;
    if (traceOn) {
        const char* name;
        pthread_mutex_lock(&namesLock);
        functionSlot(function, &name);
        pthread_mutex_unlock(&namesLock);
        record("EA %lld %d %s", elapsedNs(), depth, name);
    }
    inHook = 0;
}

/* ------------------------------------------------------------------------
 * Lines and branches, from gcc's coverage data at the end of the run: gcov
 * prints each source with the count of every line and the taken count of
 * every branch, and each of those becomes a record. */

static NO_HOOK const char* skipBlanks(const char* text)
{
    while (*text == ' ' || *text == '\t')
        ++text;
    return text;
}

static NO_HOOK void coverageLine(const char* line, char* source, size_t sourceSize, int* lastLine)
{
    /* "function NAME called N returned ...": every function of the source,
     * also one that never ran, which the entry hook cannot tell. */
    if (strncmp(line, "function ", 9) == 0) {
        char name[1024];
        long long calls = 0;
        if (sscanf(line, "function %1023s called %lld", name, &calls) == 2)
            record("DC \"%s\" %lld %s", source, calls, name);
        return;
    }
    if (strncmp(line, "branch", 6) == 0) {
        int index = 0;
        long long taken = 0;
        if (sscanf(line, "branch %d taken %lld", &index, &taken) == 2)
            record("TB \"%s\" %d %d %lld", source, *lastLine, index, taken);
        else if (sscanf(line, "branch %d never executed", &index) == 1)
            record("TB \"%s\" %d %d 0", source, *lastLine, index);
        return;
    }
    /* "count:line:text", the count "-" for a line without code, "#####" or
     * "=====" for one never run, with a "*" behind when a block was missed. */
    const char* count = skipBlanks(line);
    const char* colon = strchr(count, ':');
    if (!colon)
        return;
    const char* number = skipBlanks(colon + 1);
    char* end = NULL;
    long lineNumber = strtol(number, &end, 10);
    if (end == number || *end != ':')
        return;
    if (lineNumber == 0) {
        const char* key = end + 1;
        if (strncmp(key, "Source:", 7) == 0) {
            snprintf(source, sourceSize, "%s", key + 7);
            source[strcspn(source, "\n")] = '\0';
        }
        return;
    }
    *lastLine = (int)lineNumber;
    if (*count == '-')
        return;
    long long executions = (*count == '#' || *count == '=') ? 0 : strtoll(count, NULL, 10);
    record("CO \"%s\" %ld %lld", source, lineNumber, executions);
}

static NO_HOOK void readCoverageOf(const char* gcda)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return;
    const char* gcov = getenv("VELMONT_GCOV");
    if (!gcov || !*gcov)
        gcov = "gcov";
    char directory[4096];
    snprintf(directory, sizeof directory, "%s", gcda);
    char* slash = strrchr(directory, '/');
    if (slash)
        *slash = '\0';
    else
        snprintf(directory, sizeof directory, ".");
    pid_t child = fork();
    if (child == 0) {
        dup2(pipeFds[1], 1);
        close(pipeFds[0]);
        close(pipeFds[1]);
        int quiet = open("/dev/null", O_WRONLY);
        if (quiet >= 0)
            dup2(quiet, 2);
        /* The child is a copy of the program: it must not write records. */
        splitFd = -1;
        execlp(gcov, gcov, "-b", "-c", "-t", "-o", directory, gcda, (char*)NULL);
        _exit(127);
    }
    close(pipeFds[1]);
    if (child < 0) {
        close(pipeFds[0]);
        return;
    }
    FILE* in = fdopen(pipeFds[0], "r");
    if (in) {
        char line[8192];
        char source[4096] = "";
        int lastLine = 0;
        while (fgets(line, sizeof line, in))
            coverageLine(line, source, sizeof source, &lastLine);
        fclose(in);
    } else {
        close(pipeFds[0]);
    }
    while (waitpid(child, NULL, 0) < 0 && errno == EINTR) {
    }
}

/* The coverage data files lie beside the objects, whose directory the
 * program was built with; each is read once. The dump writes them now, and
 * gcc's own one at the very end then finds nothing more to write. */
static NO_HOOK void readCoverage(void)
{
    if (!dumpCoverage())
        return;
    const char* dirName = getenv("VELMONT_COVERAGE_DIR");
    if (!dirName || !*dirName)
        return;
    DIR* dir = opendir(dirName);
    if (!dir)
        return;
    struct dirent* entry;
    while ((entry = readdir(dir))) {
        size_t length = strlen(entry->d_name);
        if (length < 6 || strcmp(entry->d_name + length - 5, ".gcda") != 0)
            continue;
        char path[4096];
        snprintf(path, sizeof path, "%s/%s", dirName, entry->d_name);
        readCoverageOf(path);
    }
    closedir(dir);
}

/* ------------------------------------------------------------------------
 * Start and end of the run. */

static NO_HOOK void dateRecord(void)
{
    time_t now = time(NULL);
    char text[64];
    if (!ctime_r(&now, text))
        snprintf(text, sizeof text, "0");
    text[strcspn(text, "\n")] = '\0';
    record("DT \"%s\"", text);
}

__attribute__((constructor(101))) static NO_HOOK void velmontStart(void)
{
    clock_gettime(CLOCK_MONOTONIC, &startTime);
    const char* path = getenv("VELMONT_SPLIT_FILE");
    if (!path || !*path)
        return;
    const char* modes = getenv("VELMONT_RT_MODES");
    traceOn = !modes || strchr(modes, 't') != NULL;
    coverageOn = !modes || strchr(modes, 'c') != NULL;
    splitFd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (splitFd >= 0)
        dateRecord();
}

/* Runs after the program's own destructors; gcc's coverage data is written
 * by the dump below before it is read. */
__attribute__((destructor(101))) static NO_HOOK void velmontEnd(void)
{
    if (splitFd < 0)
        return;
    inHook = 1;
    if (coverageOn)
        readCoverage();
    record("tEND %lld", elapsedNs());
    close(splitFd);
    splitFd = -1;
}
