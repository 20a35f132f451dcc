#pragma once

struct LabServerOptions;

namespace CLI
{
class App;
}

/// Describes the program's command line, and thereby how it is parsed.
/// @param options  where the values are put; must outlive the parse
void DescribeLabCommandLine(CLI::App& app, LabServerOptions& options);
