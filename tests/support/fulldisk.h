#pragma once

#include <sys/resource.h>

#include <csignal>

/// Shortages that a test makes for its own process.
namespace ZR::Test
{
/// A limit of this process for as long as it lives.
class Limit final
{
public:
  Limit(decltype(RLIMIT_FSIZE) resource_, rlim_t most) : resource(resource_)
  {
    ::getrlimit(resource, &before);
    const rlimit now{most, before.rlim_max};
    ::setrlimit(resource, &now);
  }

  ~Limit() { ::setrlimit(resource, &before); }

  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

private:
  const decltype(RLIMIT_FSIZE) resource;
  rlimit before{};
};

/// No file can grow beyond some bytes: to those who write it is as a full disk.
class FullDisk final
{
public:
  explicit FullDisk(rlim_t size) : before(std::signal(SIGXFSZ, SIG_IGN)), limit(RLIMIT_FSIZE, size) {}

  ~FullDisk() { std::signal(SIGXFSZ, before); }

  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

private:
  void (*const before)(int);
  const Limit limit;
};
}  // namespace ZR::Test
