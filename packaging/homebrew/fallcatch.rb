# brew install --HEAD ./packaging/homebrew/fallcatch.rb, in a clone of this repository.
class Fallcatch < Formula
  desc "Crash reports and fast logging for desktop applications"
  license "MIT"
  head "file://#{File.expand_path("../..", __dir__)}", using: :git

  depends_on "cmake" => :build

  def install
    args = %w[TESTS BENCHMARKS EXAMPLES].map { |name| "-DFALLCATCH_#{name}=OFF" }
    # The bridge is a framework that an application embeds, and is made with the preset macos-xcode.
    args << "-DFALLCATCH_GLUE=OFF"
    system "cmake", "-S", ".", "-B", "build", *args, *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    (testpath/"host.cpp").write <<~CPP
      #include <hslog/HSL.h>
      int main()
      {
          HSL::CLogManager::Initialize();
          HSL::CLogManager::Cleanup();
      }
    CPP
    system ENV.cxx, "-std=c++17", "host.cpp", "-I#{include}/kxpl", "-L#{lib}", "-lkxpl", "-o", "host"
    system "./host"
  end
end
