// What a fault in memory would look for: a buffer on the stack, filled by a call of the C library.

#include <cstdio>
#include <cstring>

int main(int count, char** arguments)
{
  char text[64];
  std::strncpy(text, count > 0 ? arguments[0] : "", static_cast<std::size_t>(count) + 40);
  text[sizeof text - 1] = '\0';
  std::printf("%s\n", text);
  return 0;
}
