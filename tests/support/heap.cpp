#include "support/heap.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{

std::atomic<long long> used{0};
std::atomic<long long> highest{0};
std::atomic<long long> asked{0};

void count(long long bytes)
{
    const long long now = used.fetch_add(bytes, std::memory_order_relaxed) + bytes;
    if (now > highest.load(std::memory_order_relaxed))
        highest.store(now, std::memory_order_relaxed);
}

} // namespace

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED
#endif

#ifdef SANITIZED

// Not every compiler brings the header that declares them.
extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*taken)(const volatile void *, size_t),
                                              void (*given)(const volatile void *));
size_t __sanitizer_get_allocated_size(const volatile void *block);
}

namespace
{

void taken(const volatile void *, size_t size)
{
    ++asked;
    count(static_cast<long long>(size));
}

void given(const volatile void *block)
{
    if (block)
        count(-static_cast<long long>(__sanitizer_get_allocated_size(block)));
}

void install()
{
    static const int once = __sanitizer_install_malloc_and_free_hooks(taken, given);
    static_cast<void>(once);
}

} // namespace

#else

extern "C" {
void *__libc_malloc(size_t size);
void __libc_free(void *block);
}

namespace
{

void install() {}

/// Stands right before every block.
struct Header {
    void *start; ///< what the system gave
    size_t size; ///< what was asked for
};

Header *headerOf(void *block)
{
    return static_cast<Header *>(block) - 1;
}

void *take(size_t size, size_t alignment)
{
    if (size > PTRDIFF_MAX - alignment - sizeof(Header)) {
        errno = ENOMEM;
        return nullptr;
    }
    char *const start = static_cast<char *>(__libc_malloc(size + alignment + sizeof(Header)));
    if (!start)
        return nullptr;
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(start) + sizeof(Header);
    void *const block = start + sizeof(Header) + (alignment - first % alignment) % alignment;
    *headerOf(block) = Header{start, size};
    ++asked;
    count(static_cast<long long>(size));
    return block;
}

} // namespace

extern "C" {

void *malloc(size_t size)
{
    return take(size, alignof(std::max_align_t));
}

void free(void *block)
{
    if (!block)
        return;
    count(-static_cast<long long>(headerOf(block)->size));
    __libc_free(headerOf(block)->start);
}

void *calloc(size_t number, size_t size)
{
    if (size && number > PTRDIFF_MAX / size) {
        errno = ENOMEM;
        return nullptr;
    }
    void *const block = malloc(number * size);
    return block ? std::memset(block, 0, number * size) : nullptr;
}

void *realloc(void *old, size_t size)
{
    void *const block = malloc(size);
    if (block && old) {
        const size_t kept = headerOf(old)->size;
        std::memcpy(block, old, kept < size ? kept : size);
        free(old);
    }
    return block;
}

void *memalign(size_t alignment, size_t size)
{
    return take(size, alignment < alignof(std::max_align_t) ? alignof(std::max_align_t) : alignment);
}

void *aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **block, size_t alignment, size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

size_t malloc_usable_size(void *block)
{
    return block ? headerOf(block)->size : 0;
}

} // extern "C"

#endif

long long heap::inUse()
{
    install();
    return used;
}

long long heap::peak()
{
    return highest;
}

void heap::startPeak()
{
    highest = inUse();
}

long long heap::requests()
{
    install();
    return asked;
}
