// Drives two boards at once through the board API: opens both, and on one
// thread per board identifies it, uploads the same file as file 0 with its
// progress in bytes, compares the board's checksum with the file's and starts
// the DSP program.
//
//   mcs -out:upload.exe Upload.cs Board.cs Native.cs
//   mono upload.exe -d PATH -d PATH FILE
using System;
using System.Collections.Generic;
using System.IO;
using System.Threading;

static class Upload
{
    // The boot loader's SPI select and busy line on the boards known.
    const ushort BootLoaderSelect = 2;
    const ushort BootLoaderBusyMask = 2;
    // File 0 goes to the first sectors after the boot file and the file table.
    const int FileIndex = 0;
    const uint FileStart = 0x10000;
    const uint SectorBytes = 4096;

    static readonly object consoleLock = new object();

    static void Say(int number, string text)
    {
        lock (consoleLock)
            Console.WriteLine("[board {0}] {1}", number, text);
    }

    // Everything one board does, on its own thread; false after a message.
    static bool Drive(int number, Board board, string file, byte[] data)
    {
        try {
            Say(number, "Product: " + board.ProductName());
            var identity = board.InitBootLoader(BootLoaderSelect, BootLoaderBusyMask);
            Say(number, string.Format("Boot loader {0}, {1}, DSP {2}, flash {3} KiB",
                                      Native.Text(identity.version), Native.Text(identity.product),
                                      Native.Text(identity.dsp), identity.memorySize / 1024));

            uint end = FileStart + (uint)((data.Length + SectorBytes - 1) / SectorBytes * SectorBytes);
            if (end > identity.memorySize) {
                Say(number, "the file does not fit the board's flash");
                return false;
            }
            // A line at the start and at each quarter, so that two boards'
            // lines stay readable.
            long reported = -1;
            board.Upload(FileIndex, FileStart, end, Path.GetFileName(file), data, (sent, total) => {
                long quarter = total == 0 ? 4 : sent * 4 / total;
                if (quarter != reported) {
                    reported = quarter;
                    Say(number, string.Format("Uploading: {0} of {1} bytes", sent, total));
                }
                return true;
            });

            ushort onBoard = board.FileChecksum(FileIndex);
            ushort own = Native.xdsp_checksum(data, (UIntPtr)data.Length);
            Say(number, string.Format("Checksum 0x{0:X4} on the board, 0x{1:X4} here", onBoard, own));
            if (onBoard != own) {
                Say(number, "the checksums differ");
                return false;
            }
            board.Run();
            Say(number, "DSP program started");
            return true;
        } catch (BoardException error) {
            string message = board.LastMessage();
            Say(number, error.Message + (message.Length > 0 ? " - " + message : ""));
            return false;
        }
    }

    static int Main(string[] args)
    {
        var paths = new List<string>();
        string file = null;
        bool understood = true;
        for (int i = 0; i < args.Length; ++i) {
            if (args[i] == "-d" && i + 1 < args.Length)
                paths.Add(args[++i]);
            else if (file == null && !args[i].StartsWith("-"))
                file = args[i];
            else
                understood = false;
        }
        if (!understood || paths.Count != 2 || file == null) {
            Console.Error.WriteLine("usage: upload.exe -d PATH -d PATH FILE");
            return 2;
        }
        byte[] data = File.ReadAllBytes(file);
        // The boot loader takes whole 16-bit words; a zero keeps the checksum.
        if (data.Length % 2 != 0)
            Array.Resize(ref data, data.Length + 1);
        Console.WriteLine("xdsp " + Native.Text(Native.xdsp_version()));

        var boards = new List<Board>();
        try {
            foreach (string path in paths) {
                boards.Add(new Board(path));
                Say(boards.Count, "Opened " + path);
            }
            var results = new bool[boards.Count];
            var threads = new List<Thread>();
            for (int i = 0; i < boards.Count; ++i) {
                int n = i;
                var thread = new Thread(() => results[n] = Drive(n + 1, boards[n], file, data));
                thread.Start();
                threads.Add(thread);
            }
            foreach (var thread in threads)
                thread.Join();
            return Array.TrueForAll(results, ok => ok) ? 0 : 1;
        } catch (BoardException error) {
            Console.Error.WriteLine("upload: " + error.Message);
            return 1;
        } finally {
            foreach (var board in boards)
                board.Dispose();
        }
    }
}
