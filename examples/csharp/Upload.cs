// Lists the boards, opens the first one (or the device given), prints its
// product and its boot loader's identification, uploads a file with a progress
// bar, reads the file's checksum back and starts the DSP program.
//
//   mcs -out:upload.exe Upload.cs Native.cs
//   mono upload.exe [--device PATH] [--index N] FILE
using System;
using System.IO;
using System.Text;

static class Upload
{
    const ushort VendorId = 0x20B1;
    const ushort AnyProduct = 0xFFFF;
    const uint MaxBoards = 64;
    const uint ChecksumMismatch = 0x8009700D;
    const int ProductNameRecordSize = 188;
    const int ProductNameOffset = 16;

    static int ShowProgress(int percent, uint context)
    {
        const int width = 40;
        int filled = Math.Max(0, Math.Min(percent, 100)) * width / 100;
        Console.Write("\rUploading [{0}{1}] {2,3}%", new string('#', filled),
                      new string('.', width - filled), percent);
        if (percent >= 100)
            Console.WriteLine();
        return 0;
    }

    static string ProductName()
    {
        var record = new byte[ProductNameRecordSize];
        Native.GetProductNameStruct(record);
        int end = Array.IndexOf(record, (byte)0, ProductNameOffset);
        if (record[0] == 0 || end < 0)
            return null;
        return Encoding.ASCII.GetString(record, ProductNameOffset, end - ProductNameOffset);
    }

    static int Fail(string text)
    {
        Console.Error.WriteLine("upload: " + text);
        return 1;
    }

    static int Main(string[] args)
    {
        string device = null, file = null;
        int index = 0;
        for (int i = 0; i < args.Length; ++i) {
            if ((args[i] == "-d" || args[i] == "--device") && i + 1 < args.Length)
                device = args[++i];
            else if (args[i] == "--index" && i + 1 < args.Length)
                index = int.Parse(args[++i]);
            else
                file = args[i];
        }
        if (file == null)
            return Fail("usage: upload.exe [--device PATH] [--index N] FILE");
        byte[] data = File.ReadAllBytes(file);

        var records = new Native.DeviceRecord[MaxBoards];
        uint count = Math.Min(Native.EnumUSBHIDDevices(VendorId, AnyProduct, records, MaxBoards),
                              MaxBoards);
        for (uint i = 0; i < count; ++i) {
            var port = new StringBuilder(Native.DevicePathChars);
            var name = new StringBuilder(Native.FriendlyNameChars);
            Native.GetMatchingHID_COMDevice(records[i].devicePath, port, name);
            Console.WriteLine("Board {0} ({1})", records[i].devicePath,
                              port.Length > 0 ? port.ToString() : "no serial port");
        }
        device = device ?? (count > 0 ? records[0].devicePath : null);
        if (device == null)
            return Fail("no board attached: give a device path with --device");

        if (Native.InitializeHIDUSBPacketPath(device) == 0)
            return Fail(string.Format("cannot open {0} (error {1})", device, Native.LastError()));
        try {
            string product = ProductName();
            if (product == null)
                return Fail(device + " did not name itself");
            Console.WriteLine("Product: " + product);
            if (Native.BootLoader_Init(2, 2) == 0)
                return Fail("the boot loader did not answer");
            Console.WriteLine("Boot loader {0}, {1}, DSP {2}, flash {3} KiB",
                              Native.Text(Native.BootLoader_GetVersion()),
                              Native.Text(Native.BootLoader_GetProduct()),
                              Native.Text(Native.BootLoader_GetDSP()),
                              Native.BootLoader_GetMemory() / 1024);
            Console.WriteLine("{0} files at most", Native.MaxFiles());

            // The boot loader takes whole 16-bit words; a zero keeps the checksum.
            if (data.Length % 2 != 0)
                Array.Resize(ref data, data.Length + 1);
            uint start = 0x10000, end = start + (uint)((data.Length + 4095) / 4096 * 4096);
            // Held in a variable until the call returns: the library keeps only
            // the function pointer.
            Native.ProgressCallback progress = ShowProgress;
            int sent = Native.BootLoader_Send(index, 0, start, end, Path.GetFileName(file), data,
                                              (uint)data.Length, 0, progress, 0);
            uint error = Native.LastError();
            GC.KeepAlive(progress);
            if (sent == 0)
                return Fail(string.Format("the upload stopped (error {0})", error));
            if (error == ChecksumMismatch)
                return Fail("the board's checksum differs from the file's");
            Console.WriteLine("Checksum {0:X4}", Native.BootLoader_GetFileChecksum(index));
            Native.BootLoader_Boot();
            Console.WriteLine("DSP program started");
            return 0;
        } finally {
            Native.DestroyHIDUSBPacket();
        }
    }
}
