// SPDX-License-Identifier: MIT
#pragma once

#include "faults/faultcase.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/types.h>

namespace kestrune::test {

/// The program in a process of its own, with the memory it needed at most.
class MeasuredProcess
{
public:
    MeasuredProcess() = default;
    MeasuredProcess(const MeasuredProcess &) = delete;
    MeasuredProcess &operator=(const MeasuredProcess &) = delete;
    ~MeasuredProcess();

    /// Standard error goes to a file. False when the program cannot be started.
    [[nodiscard]] bool start(const QString &program, const QStringList &arguments,
                             const QStringList &environment, const QString &errorFile);
    /// True once it has ended.
    [[nodiscard]] bool hasEnded();

    [[nodiscard]] bool endedWell() const { return m_status == 0; } ///< normally and with status 0
    [[nodiscard]] qint64 elapsedMs() const { return m_elapsedMs; }
    [[nodiscard]] long peakMiB() const { return m_peakKiB / 1024; } ///< resident

private:
    pid_t m_pid = -1;
    int m_status = -1;
    long m_peakKiB = 0;
    qint64 m_elapsedMs = 0;
    QElapsedTimer m_timer;
};

/// One case from the start of its market to the judgement.
class FaultRun
{
public:
    explicit FaultRun(FaultCase faultCase);
    FaultRun(const FaultRun &) = delete;
    FaultRun &operator=(const FaultRun &) = delete;
    ~FaultRun();

    /// Takes the next step that is possible now; true when the run has ended.
    [[nodiscard]] bool advance();
    /// What went wrong, one line; empty when all is as it must be.
    [[nodiscard]] QString verdict() const;

    [[nodiscard]] const FaultCase &faultCase() const { return m_case; }
    [[nodiscard]] qint64 elapsedMs() const { return m_bar.elapsedMs(); }
    [[nodiscard]] long peakMiB() const { return m_bar.peakMiB(); }

private:
    [[nodiscard]] bool startBar(const QString &address);
    [[nodiscard]] QString contentProblem() const;

    FaultCase m_case;
    QTemporaryDir m_folder;
    QProcess m_market;
    MeasuredProcess m_bar;
    QElapsedTimer m_sinceBirth;
    bool m_started = false;
    QString m_failure;
};

} // namespace kestrune::test
