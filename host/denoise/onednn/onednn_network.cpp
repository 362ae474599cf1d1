#include "onednn_network.h"

#include <cstdint>
#include <new>

// OpenMP's routines (OpenMP API 5.0, 3.2): their header comes with each compiler's own library.
extern "C" {
int omp_get_max_threads();
void omp_set_num_threads(int count);
}

namespace host::denoise {
namespace {

using dnnl::algorithm;
using dnnl::memory;
using dnnl::prop_kind;

constexpr auto floats = memory::data_type::f32;
constexpr int convolutions = 16;

memory::desc anyLayout(const memory::dims& dims) {
  return {dims, floats, memory::format_tag::any};
}

/// The library has its own threads; the setting counts for regions that the calling thread begins.
class ThreadCount {
 public:
  explicit ThreadCount(int threads) : before_(omp_get_max_threads()) { omp_set_num_threads(threads); }
  ~ThreadCount() { omp_set_num_threads(before_); }
  ThreadCount(const ThreadCount&) = delete;
  ThreadCount& operator=(const ThreadCount&) = delete;

 private:
  int before_;
};

} // namespace

OnednnNetwork::OnednnNetwork(const Weights& weights, int threads)
    : weights_(weights), threads_(threads), engine_(dnnl::engine::kind::cpu, 0), stream_(engine_) {
}

bool OnednnNetwork::run(const float* input, int width, int height, float* output,
                        const std::function<bool(double)>& goOn) {
  const ThreadCount count(threads_);
  goOn_ = &goOn;
  steps_ = 0;
  const memory::dims dims{1, weights_.inputs(), height, width};
  try {
    memory in({dims, floats, memory::format_tag::nchw}, engine_, const_cast<float*>(input));
    memory level1 = pool(convolve("enc_conv1", convolve("enc_conv0", in)));
    memory level2 = pool(convolve("enc_conv2", level1));
    memory level3 = pool(convolve("enc_conv3", level2));
    memory x = pool(convolve("enc_conv4", level3));
    x = convolve("enc_conv5b", convolve("enc_conv5a", x));
    x = convolve("dec_conv4b", convolve("dec_conv4a", upsample(x), level3));
    level3 = {};
    x = convolve("dec_conv3b", convolve("dec_conv3a", upsample(x), level2));
    level2 = {};
    x = convolve("dec_conv2b", convolve("dec_conv2a", upsample(x), level1));
    level1 = {};
    x = convolve("dec_conv1b", convolve("dec_conv1a", upsample(x), in));
    x = convolve("dec_conv0", x);
    memory out({{1, 3, height, width}, floats, memory::format_tag::nchw}, engine_, output);
    dnnl::reorder(x, out).execute(stream_, x, out);
    stream_.wait();
  } catch (const Stopped&) {
    return false;
  } catch (const dnnl::error& error) {
    if (error.status == dnnl_out_of_memory) throw std::bad_alloc();
    throw;
  }
  return true;
}

// The sources of a convolution are read one after the other into the same sum: they need not be joined first.
memory OnednnNetwork::convolve(const char* name, const memory& source, const memory& skip) {
  step();
  const Convolution& convolution = weights_[name];
  const bool rectify = std::string_view(name) != "dec_conv0";
  const bool joined = skip.get(true) != nullptr;
  memory result;
  convolvePart(convolution, {source, 0, true, !joined}, rectify, result);
  if (joined) {
    const int first = static_cast<int>(source.get_desc().dims()[1]);
    convolvePart(convolution, {skip, first, false, true}, rectify, result);
  }
  return result;
}

void OnednnNetwork::convolvePart(const Convolution& convolution, const Part& part, bool rectify,
                                 memory& result) {
  const memory::dims dims = part.source.get_desc().dims();
  const memory::dim inputs = dims[1], outputs = convolution.outputs;
  const memory::dims kernelDims{outputs, inputs, 3, 3}, one{1, 1};
  const memory::desc sum = part.first ? anyLayout({1, outputs, dims[2], dims[3]}) : result.get_desc();
  const memory::desc bias({outputs}, floats, memory::format_tag::a);

  dnnl::post_ops after;
  if (!part.first) after.append_sum(1);
  if (part.last && rectify) after.append_eltwise(1, algorithm::eltwise_relu, 0, 0);
  dnnl::primitive_attr attributes;
  attributes.set_post_ops(after);

  using Forward = dnnl::convolution_forward;
  const auto kind = prop_kind::forward_inference;
  const auto direct = algorithm::convolution_direct;
  const Forward::desc description =
      part.first
          ? Forward::desc(kind, direct, anyLayout(dims), anyLayout(kernelDims), bias, sum, one, one, one)
          : Forward::desc(kind, direct, anyLayout(dims), anyLayout(kernelDims), sum, one, one, one);
  const Forward::primitive_desc primitive(description, attributes, engine_);

  std::vector<float> kernel; // of the inputs that this source has
  const auto size = static_cast<std::size_t>(inputs) * 9;
  for (int output = 0; output < convolution.outputs; ++output) {
    const auto from = (static_cast<std::size_t>(output) * static_cast<std::size_t>(convolution.inputs) +
                       static_cast<std::size_t>(part.firstInput)) *
                      9;
    kernel.insert(kernel.end(), &convolution.kernel[from], &convolution.kernel[from] + size);
  }
  const memory plain({kernelDims, floats, memory::format_tag::oihw}, engine_, kernel.data());
  if (part.first) result = memory(primitive.dst_desc(), engine_);
  std::unordered_map<int, memory> arguments{{DNNL_ARG_SRC, reordered(part.source, primitive.src_desc())},
                                            {DNNL_ARG_WEIGHTS, reordered(plain, primitive.weights_desc())},
                                            {DNNL_ARG_DST, result}};
  if (part.first)
    arguments[DNNL_ARG_BIAS] = memory(bias, engine_, const_cast<float*>(convolution.bias.data()));
  Forward(primitive).execute(stream_, arguments);
  stream_.wait();
}

memory OnednnNetwork::pool(const memory& source) {
  const memory::dims dims = source.get_desc().dims(), two{2, 2}, none{0, 0};
  using Pooling = dnnl::pooling_v2_forward;
  const Pooling::desc description(prop_kind::forward_inference, algorithm::pooling_max, source.get_desc(),
                                  anyLayout({1, dims[1], dims[2] / 2, dims[3] / 2}), two, two, none, none,
                                  none);
  const Pooling::primitive_desc primitive(description, engine_);
  memory result(primitive.dst_desc(), engine_);
  Pooling(primitive).execute(stream_, {{DNNL_ARG_SRC, source}, {DNNL_ARG_DST, result}});
  stream_.wait();
  return result;
}

memory OnednnNetwork::upsample(const memory& source) {
  const memory::dims dims = source.get_desc().dims();
  using Resampling = dnnl::resampling_forward;
  const Resampling::desc description(prop_kind::forward_inference, algorithm::resampling_nearest,
                                     source.get_desc(), anyLayout({1, dims[1], dims[2] * 2, dims[3] * 2}));
  const Resampling::primitive_desc primitive(description, engine_);
  memory result(primitive.dst_desc(), engine_);
  Resampling(primitive).execute(stream_, {{DNNL_ARG_SRC, source}, {DNNL_ARG_DST, result}});
  stream_.wait();
  return result;
}

memory OnednnNetwork::reordered(const memory& source, const memory::desc& wanted) {
  if (source.get_desc() == wanted) return source;
  memory from = source, result(wanted, engine_);
  dnnl::reorder(from, result).execute(stream_, from, result);
  stream_.wait();
  return result;
}

void OnednnNetwork::step() {
  if (!(*goOn_)(static_cast<double>(steps_++) / convolutions)) throw Stopped();
}

} // namespace host::denoise
