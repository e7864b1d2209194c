# formula.rb FORMULA VERSION BUILD PREFIX: what Homebrew does with the formula, as far as it matters here.
# It names the VERSION, its install runs the commands on the BUILD, and no example below PREFIX names a
# folder that goes with this version.
require "pathname"

formula, version, build, prefix = ARGV

# The words that a formula is written in.
class Formula
  class << self
    attr_reader :address, :tag
    def url(address, tag:) = (@address, @tag = address, tag)
    %i[desc homepage license depends_on test].each { |name| define_method(name) { |*| } }
    def on_linux = yield
  end

  def initialize(build, prefix) = (@build, @prefix = build, Pathname(prefix))
  def bin = @prefix/"bin"
  def doc = @prefix/"share/doc/tovra-mcp"
  def opt_bin = Pathname("/opt/homebrew/opt/tovra-mcp/bin")
  def std_cmake_args = ["-DCMAKE_INSTALL_PREFIX=#{@prefix}"]

  # Only the last of the three is done: the others take minutes, and their result is there.
  def system(*command)
    return unless command[0, 2] == %w[cmake --install]

    Kernel.system("cmake", "--install", @build, "--prefix", @prefix.to_s, out: File::NULL, exception: true)
  end

  def inreplace(files, before, after)
    raise "nothing to replace" if files.empty?

    files.each { |file| File.write(file, File.read(file).gsub(before, after)) }
  end
end

load formula
TovraMcp.tag == "v#{version}" or abort "#{TovraMcp.tag} is not the version"
TovraMcp.address.end_with?(".git") or abort "#{TovraMcp.address} has no tag"
TovraMcp.new(build, prefix).install
left = Dir["#{prefix}/share/doc/**/*"].select { |file| File.file?(file) && File.read(file).include?("#{prefix}/bin") }
left.empty? or abort "the version's own folder in #{left}"
