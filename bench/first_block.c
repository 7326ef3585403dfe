// Preloaded into a program that renders with FluidSynth: ends it when its first block of sound is
// there, and writes the processor seconds that it took to the file named by FIRST_BLOCK.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

static void* fluid(const char* name) {
    void* library = dlopen("libfluidsynth.so.3", RTLD_LAZY | RTLD_NOLOAD);
    void* function = library ? dlsym(library, name) : NULL;
    if (!function) {
        abort();
    }
    return function;
}

static void report(void) {
    struct timespec used;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    FILE* file = fopen(getenv("FIRST_BLOCK"), "w");
    fprintf(file, "%.6f\n", (double)used.tv_sec + 1e-9 * (double)used.tv_nsec);
    fclose(file);
    _exit(0);
}

// What the engine renders with.
EXPORTED int fluid_synth_write_float(void* synth, int frames, void* left, int leftStart,
                                     int leftStep, void* right, int rightStart, int rightStep) {
    int (*render)(void*, int, void*, int, int, void*, int, int) = fluid("fluid_synth_write_float");
    render(synth, frames, left, leftStart, leftStep, right, rightStart, rightStep);
    report();
    return 0;
}

// What fluidsynth -F renders with.
EXPORTED int fluid_file_renderer_process_block(void* renderer) {
    int (*render)(void*) = fluid("fluid_file_renderer_process_block");
    render(renderer);
    report();
    return 0;
}
