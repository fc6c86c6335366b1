' A scheduling server's part: one request after the other through the service's public class.
' client.vbs CONNECTION LOGDIRECTORY RUNPARAMETER TABLEID METHOD [METHOD ...]
For i = 4 To WScript.Arguments.Count - 1
    Set handler = CreateObject("iQRXyQRXSync.clsDataCopyHandler")
    handler.HandleDataCopy WScript.Arguments(0), "", CInt(WScript.Arguments(3)), CInt(WScript.Arguments(i)), _
        WScript.Arguments(1), WScript.Arguments(2), 1
    Set handler = Nothing
    WScript.Echo "handled " & WScript.Arguments(i)
Next
