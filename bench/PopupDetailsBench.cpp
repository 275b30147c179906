// Showing a long message with no space in it in a text view of the popup's details, offscreen:
// the text set, laid out and painted. WholeText wraps it anywhere (what the popup and the event
// sheet do past 8,192 characters); WordWrap is the toolkit's default wrapping, for comparison.
//
//   QT_QPA_PLATFORM=offscreen bench_popup_details [benchmark flags]

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QPlainTextEdit>
#include <QTextOption>

#include "app/WholeText.h"

namespace {

void show(benchmark::State& state, bool wrapAnywhere) {
    const QString text(static_cast<qsizetype>(state.range(0)), QLatin1Char('x'));
    QPlainTextEdit view;
    view.setReadOnly(true);
    view.resize(300, 120); // about the popup's details
    view.show();
    for (auto _ : state) {
        if (wrapAnywhere) {
            velmora::showWholeText(view, text);
        } else {
            view.setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
            view.setPlainText(text);
        }
        view.repaint();
        view.clear();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void WholeText(benchmark::State& state) {
    show(state, true);
}

void WordWrap(benchmark::State& state) {
    show(state, false);
}

} // namespace

BENCHMARK(WholeText)->Arg(8 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(4 << 20)->Unit(
    benchmark::kMillisecond);
BENCHMARK(WordWrap)->Arg(8 << 10)->Arg(32 << 10)->Arg(64 << 10)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
