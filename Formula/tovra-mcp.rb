# The repository is a tap of its own: brew tap tovra-mcp/tovra-mcp <this repository's address>.
class TovraMcp < Formula
  desc "MCP server for the records of the Tovra finance application"
  homepage "https://github.com/tovra-mcp/tovra-mcp"
  url "https://github.com/tovra-mcp/tovra-mcp.git", tag: "v1.0.0"
  license "MIT"

  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "icu4c"
  depends_on "simdjson"

  on_linux do
    depends_on "util-linux"
  end

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
    # A path that the next version has, too.
    examples = Dir[doc/"examples/**/*"].select { |file| File.file?(file) && File.read(file).include?(bin.to_s) }
    inreplace examples, bin.to_s, opt_bin.to_s
  end

  test do
    message = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}'
    assert_match '"name":"tovra"', pipe_output(bin/"tovra-mcp", "#{message}\n", 0)
  end
end
