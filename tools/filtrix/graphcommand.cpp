// `filtrix graph`: a filter as a picture.

#include "filtrix/ku/suggest.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/commands.h"
#include "tools/filtrix/session.h"

#include <CLI/CLI.hpp>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

extern char** environ;

namespace ZR::Filtrix::Tool
{
namespace
{
namespace fs = std::filesystem;

struct GraphOptions
{
  std::string name;
  int level = 1;
  std::string out;
  std::vector<std::string> programs;
};

// Graphviz reads the text from a file, so that it cannot wait for us while we wait for it.
int draw(const std::string& dot, const std::string& format, const std::string& out)
{
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
  if (!file || std::fwrite(dot.data(), 1, dot.size(), file.get()) != dot.size() || std::fflush(file.get()) != 0 ||
      ::lseek(::fileno(file.get()), 0, SEEK_SET) != 0)
    return complain("no temporary file could be written: " + std::string(std::strerror(errno)));
  std::array<std::string, 4> words{"dot", "-T" + format, "-o", out};
  std::array<char*, 5> arguments{words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ::fileno(file.get()), STDIN_FILENO);
  pid_t child = 0;
  const int failed = ::posix_spawnp(&child, "dot", &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (failed != 0)
    return complain("Graphviz's \"dot\" could not be started: " + std::string(std::strerror(failed)));
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
  {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    return complain("Graphviz could not draw \"" + out + "\"");
  return Exit::success;
}

int graph(const GraphOptions& options)
{
  const Session session;
  FiltrixPrivate& registry = session.registry();
  for (const std::string& program : options.programs)
  {
    if (!registry.loadProgramFromFile(program))
      return complain("the program \"" + program + "\" could not be loaded");
  }
  if (!registry.hasFilter(options.name))
    return complain("there is no filter \"" + options.name + "\"." +
                    ku::didYouMean(options.name, registry.getFilters()));
  const std::string dot = registry.getDotGraph(options.name, options.level);
  if (options.out.empty())
  {
    std::cout << dot;
    return Exit::success;
  }
  const std::string format = fs::path(options.out).extension().string();
  if (format == ".svg" || format == ".png")
    return draw(dot, format.substr(1), options.out);
  if (format != ".dot")
    return complain("expected a file that ends in .svg, .png or .dot, got \"" + options.out + "\"");
  std::ofstream file(options.out);
  file << dot;
  file.close();
  return file ? Exit::success : complain("\"" + options.out + "\" could not be written");
}
}  // namespace

void addGraphCommand(CLI::App& app, Action& action)
{
  const auto options = std::make_shared<GraphOptions>();
  CLI::App& command = *app.add_subcommand("graph", "Draws a filter and what it is made of.");
  command.add_option("NAME", options->name, "The filter to draw")->required();
  command.add_option("--level,-l", options->level, "How many composites deep; -1 for all")->capture_default_str();
  command.add_option("--out,-o", options->out, "The picture: a name ending in .svg, .png or .dot; else the text");
  command.add_option("--program,-p", options->programs, "A program to load before")->type_name("FILE");
  command.footer("Example:\n  filtrix graph Segmentation3D --level 2 -o segmentation.svg");
  command.callback([&action, options] { action = [options] { return graph(*options); }; });
}
}  // namespace ZR::Filtrix::Tool
