// Which mutant a test program runs with, and which places it comes by; see ./dev mutate.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bm_mutate {

// The number in BM_MUTANT; none is 0.
inline unsigned Chosen() {
    static const unsigned chosen = [] {
        const char* const text = std::getenv("BM_MUTANT");
        return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : 0;
    }();
    return chosen;
}

// A byte for each mutant, of the file in BM_MUTANT_REACHED, or null.
inline unsigned char* Reached() {
    static unsigned char* const reached = []() -> unsigned char* {
        const char* const name = std::getenv("BM_MUTANT_REACHED");
        if (name == nullptr) return nullptr;
        const int file = open(name, O_RDWR | O_CLOEXEC);
        struct stat about {};
        if (file < 0 || fstat(file, &about) != 0) return nullptr;
        void* const bytes =
            mmap(nullptr, static_cast<std::size_t>(about.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        return bytes != MAP_FAILED ? static_cast<unsigned char*>(bytes) : nullptr;
    }();
    return reached;
}

inline bool Is(unsigned number) {
    if (unsigned char* const reached = Reached()) reached[number] = 1;
    return Chosen() == number;
}

} // namespace bm_mutate

#define BM_MUTANT(number) (::bm_mutate::Is(number))
