#pragma once

#include "graph/origin.h"

#include <memory>
#include <string>
#include <vector>

/// The statements of a program, cut into their parts: what the parser hands to the registry. Each may know its origin.
namespace ZR::Filtrix
{
/// Where programs and what they read stand among the data files.
inline constexpr const char* programFolder = "zorqa/vision/fxs";

/// Which files the programs of a load may import.
enum class ImportRange
{
  Beneath,  ///< those beneath the folder of the importing file, and those of the data folders; links are followed first
  Everywhere  ///< every file
};

using OriginPtr = std::shared_ptr<const Origin>;

/// `TYPE NAME;`
struct NodeDeclaration
{
  std::string type;
  std::string name;
  OriginPtr origin = nullptr;
};

/// `SOURCENODE:PORT -> TARGETNODE:PORT;` An empty port name means the only port.
struct LinkDeclaration
{
  std::string sourceNode;
  std::string sourcePort;
  std::string targetNode;
  std::string targetPort;
  OriginPtr origin = nullptr;
};

/// `NODE:PORT <= NAME;`, `NODE:PORT(DEFAULT) <= NAME;` or `NODE:PORT => NAME;`
struct ExportDeclaration
{
  std::string node;
  std::string port;
  std::string name;
  OriginPtr origin = nullptr;
};

/// A pair of a process's body: `PORT <= VALUE`, `PORT => SINK`, `NAME ~> TARGET`, or keyword and name of a local
/// source.
struct Binding
{
  std::string left;
  std::string right;
  OriginPtr origin = nullptr;
};

struct FilterDeclaration
{
  std::string name;
  std::vector<NodeDeclaration> nodes;
  std::vector<LinkDeclaration> links;
  std::vector<ExportDeclaration> inputs;
  std::vector<ExportDeclaration> outputs;
  OriginPtr origin = nullptr;
};
}  // namespace ZR::Filtrix
