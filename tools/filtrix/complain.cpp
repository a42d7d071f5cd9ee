#include "tools/filtrix/commands.h"

#include <iostream>

int ZR::Filtrix::Tool::complain(const std::string& text)
{
  std::cerr << "filtrix: " << text << '\n';
  return Exit::failure;
}
