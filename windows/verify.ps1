<#
.SYNOPSIS
    Checks the credential provider on a Windows PC, and leads a person through what a script cannot see.

.DESCRIPTION
    Part of the kit that `./run kit` makes on the machine that builds. Run it as an administrator on a PC
    (best a virtual machine with a snapshot) that nobody needs for an hour:

        powershell -ExecutionPolicy Bypass -File verify.ps1 [-Attended] [-SkipBuild] [-Report FILE]

    It changes the PC and undoes each change at its end, also after a failure: drive letter Z:, the
    provider's registration, its settings, its log's folder, the installation. What could not be undone
    stands in the report. Exit status: 0 nothing failed, 1 something did, 2 it could not begin.

    docs/windows.md tells what each step is for. Nobody has run this script yet.

.PARAMETER Report
    The report to write; report.md beside the script otherwise.
.PARAMETER Attended
    Leads through the steps that need a person, a domain, a key and the card service.
.PARAMETER SkipBuild
    Does not build with Visual Studio, even where it is installed.
#>
[CmdletBinding()]
param(
    [string] $Report = (Join-Path $PSScriptRoot 'report.md'),
    [switch] $Attended,
    [switch] $SkipBuild
)
Set-StrictMode -Version 2
$ErrorActionPreference = 'Stop'

$classId = '{C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}'
$settingsPath = 'SOFTWARE\KelvorDirectoryFidoLogon'
$savedSettings = Join-Path $PSScriptRoot 'settings-before.reg'
$dataFolder = Join-Path $env:ProgramData 'KelvorDirectoryFidoLogon'
$logFile = Join-Path $dataFolder 'Logs\CredentialProviderFido.log'
$moduleName = 'KelvorFidoAdLogonCredentialProvider.dll'
$pipeName = 'KelvorSoftCardCtl'
$registrations = @(
    "HKLM:\SOFTWARE\Classes\CLSID\$classId",
    "HKLM:\SOFTWARE\Microsoft\Windows\CurrentVersion\Authentication\Credential Providers\$classId")

$script:lines = New-Object System.Collections.Generic.List[string]
$script:undo = New-Object System.Collections.Stack
$script:failures = 0

# --- The report -------------------------------------------------------------------------------------

function Add-Line([string] $Text) {
    $script:lines.Add($Text)
    Write-Host $Text
    [IO.File]::WriteAllLines($Report, $script:lines, (New-Object Text.UTF8Encoding($false)))
}

# Runs one step; what it answers is evidence, what it throws is a failure, and a text after "skip: "
# tells why it was left out.
function Invoke-Step([string] $Name, [scriptblock] $Action) {
    Add-Line ''
    Add-Line "## $Name"
    $started = Get-Date
    try {
        & $Action | ForEach-Object { Add-Line "- $_" }
        $result = 'passed'
    } catch {
        $why = $_.Exception.Message
        if ($why.StartsWith('skip: ')) {
            $result = 'skipped: ' + $why.Substring(6)
        } else {
            $script:failures++
            $result = "FAILED: $why"
        }
    }
    Add-Line ('**{0}** ({1:n0} s)' -f $result, ((Get-Date) - $started).TotalSeconds)
}

function Assert-That([bool] $Condition, [string] $Otherwise) {
    if (-not $Condition) { throw $Otherwise }
}

# What brings the PC back is remembered before the PC is changed.
function Add-Undo([string] $What, [scriptblock] $Action) {
    $script:undo.Push(@{ What = $What; Action = $Action })
}

function Undo-All {
    Add-Line ''
    Add-Line '## The PC as it was'
    while ($script:undo.Count -gt 0) {
        $step = $script:undo.Pop()
        try {
            & $step.Action | Out-Null
            Add-Line "- undone: $($step.What)"
        } catch {
            $script:failures++
            Add-Line "- **NOT UNDONE**: $($step.What): $($_.Exception.Message)"
        }
    }
}

# --- Programs ---------------------------------------------------------------------------------------

# Quotes for the C runtime's rules; none of the arguments here ends in a backslash.
function Join-Arguments([string[]] $Arguments) {
    ($Arguments | ForEach-Object { '"' + $_.Replace('"', '\"') + '"' }) -join ' '
}

function Invoke-Program([string] $File, [string[]] $Arguments, [int] $Seconds = 120,
                        [string] $Folder = $PSScriptRoot) {
    $info = New-Object Diagnostics.ProcessStartInfo
    $info.FileName = $File
    $info.Arguments = Join-Arguments $Arguments
    $info.WorkingDirectory = $Folder
    $info.UseShellExecute = $false
    $info.CreateNoWindow = $true
    $info.RedirectStandardOutput = $true
    $info.RedirectStandardError = $true
    $info.StandardOutputEncoding = [Text.Encoding]::UTF8
    $process = [Diagnostics.Process]::Start($info)
    $output = $process.StandardOutput.ReadToEndAsync()
    $errors = $process.StandardError.ReadToEndAsync()
    if (-not $process.WaitForExit($Seconds * 1000)) {
        $process.Kill()
        return @{ Code = -1; Text = "did not end within $Seconds s" }
    }
    # A program that it started may hold on to its output.
    $whole = [Threading.Tasks.Task]::WaitAll(@($output, $errors), 5000)
    @{ Code = $process.ExitCode; Text = $(if ($whole) { $output.Result + $errors.Result } else { '' }) }
}

function Invoke-Registry([string[]] $Arguments) {
    $run = Invoke-Program 'reg.exe' $Arguments
    Assert-That ($run.Code -eq 0) "reg $Arguments`: $($run.Text)"
}

# Looked for in the list: to open it would take an instance.
function Test-Pipe {
    [IO.Directory]::GetFiles('\\.\pipe\') -contains "\\.\pipe\$pipeName"
}

# msiexec has rules of its own for quotes: PROPERTY="value with blanks".
function Invoke-Installer([string] $Arguments, [int[]] $Wanted = @(0, 3010)) {
    $process = Start-Process msiexec.exe -ArgumentList "$Arguments /qn /l*v `"$PSScriptRoot\msi.log`"" -Wait -PassThru
    Assert-That ($process.ExitCode -in $Wanted) "msiexec $Arguments ended with $($process.ExitCode); see msi.log"
    $process.ExitCode
}

# --- Steps ------------------------------------------------------------------------------------------

function Get-Facts {
    $system = Get-CimInstance Win32_OperatingSystem
    $computer = Get-CimInstance Win32_ComputerSystem
    "$($system.Caption), version $($system.Version), $($system.OSArchitecture)"
    "domain joined: $($computer.PartOfDomain) ($($computer.Domain))"
    "PowerShell $($PSVersionTable.PSVersion)"
    "kit of $($kit.made), from $($kit.commit)"
    Assert-That ([Environment]::Is64BitProcess) 'this PowerShell is a 32-bit one'
    foreach ($key in $registrations) {
        Assert-That (-not (Test-Path $key)) "the provider is registered here already: $key"
    }
}

function Save-State {
    $script:hadSettings = Test-Path "HKLM:\$settingsPath"
    if ($script:hadSettings) { Invoke-Registry @('export', "HKLM\$settingsPath", $savedSettings, '/y') }
    Add-Undo 'the settings' {
        if (Test-Path "HKLM:\$settingsPath") { Remove-Item "HKLM:\$settingsPath" -Recurse -Force }
        if ($script:hadSettings) { Invoke-Registry @('import', $savedSettings) }
    }
    $script:hadData = Test-Path $dataFolder
    if ($script:hadData) { Move-Item $dataFolder "$dataFolder.before-verify" }
    Add-Undo 'the folder of the log' {
        if (Test-Path $dataFolder) { Remove-Item $dataFolder -Recurse -Force }
        if ($script:hadData) { Move-Item "$dataFolder.before-verify" $dataFolder }
    }
    Add-Undo 'the registration' {
        foreach ($key in $registrations) {
            if (Test-Path $key) { Remove-Item $key -Recurse -Force }
        }
    }
    "there were settings: $script:hadSettings; there was a log: $script:hadData"
}

# The tests know their files by the paths of the machine that built them, as drive Z:.
function Mount-Kit {
    Assert-That (-not (Test-Path 'Z:\')) 'the drive letter Z: is taken'
    $run = Invoke-Program 'subst.exe' @('Z:', (Join-Path $PSScriptRoot 'root'))
    Assert-That ($run.Code -eq 0) "subst: $($run.Text)"
    Add-Undo 'the drive letter Z:' { Invoke-Program 'subst.exe' @('Z:', '/d') }
    "Z:\ is $PSScriptRoot\root"
}

# DllCharacteristics of a 64-bit image's optional header.
function Get-ImageFlags([string] $Path) {
    $bytes = [IO.File]::ReadAllBytes($Path)
    $header = [BitConverter]::ToInt32($bytes, 0x3C)
    [BitConverter]::ToUInt16($bytes, $header + 24 + 70)
}

function Test-Image([string] $Path, [bool] $Guarded) {
    $flags = Get-ImageFlags $Path
    $wanted = @{ 'high-entropy addresses' = 0x20; 'dynamic base' = 0x40; 'no execution of data' = 0x100 }
    if ($Guarded) { $wanted['Control Flow Guard'] = 0x4000 }
    foreach ($name in $wanted.Keys) {
        Assert-That (($flags -band $wanted[$name]) -ne 0) "$Path lacks: $name"
    }
    '{0}: flags 0x{1:X4}' -f (Split-Path $Path -Leaf), $flags
}

function Find-CMake {
    $known = Get-Command cmake.exe -ErrorAction SilentlyContinue
    if ($known) { return $known.Source }
    $vswhere = "${env:ProgramFiles(x86)}\Microsoft Visual Studio\Installer\vswhere.exe"
    if (-not (Test-Path $vswhere)) { return $null }
    & $vswhere -latest -find 'Common7\IDE\CommonExtensions\Microsoft\CMake\CMake\bin\cmake.exe' |
        Select-Object -First 1
}

function Build-WithVisualStudio {
    if ($SkipBuild) { throw 'skip: asked for' }
    $cmake = Find-CMake
    if (-not $cmake) { throw 'skip: no CMake, neither by itself nor with Visual Studio' }
    foreach ($arguments in @('--preset', 'msvc'), @('--build', '--preset', 'msvc')) {
        $run = Invoke-Program $cmake $arguments 1800 $tree
        Assert-That ($run.Code -eq 0) "cmake $arguments ended with $($run.Code):`n$($run.Text)"
    }
    $built = Join-Path $tree "build\msvc\bin\Release"
    Test-Image (Join-Path $built $moduleName) $true
    Test-Scenarios $built @('sign-in', 'wrong-pin', 'service-dies-during-arming')
}

function Test-Programs {
    $failures = 0
    foreach ($program in $kit.tests) {
        $path = Join-Path $tree $program
        $list = Invoke-Program $path @('--list-test-cases', '--order-by=name', '--no-version')
        $names = @($list.Text -split "`r?`n" | Where-Object { $_ -and $_ -notmatch '^(\[doctest\]|=+$)' })
        $failed = New-Object System.Collections.Generic.List[string]
        for ($number = 1; $number -le $names.Count; $number++) {
            # Each in a process of its own: much of what is tested is state of the whole process.
            $run = Invoke-Program $path @('--order-by=name', "--first=$number", "--last=$number")
            if ($run.Code -ne 0) {
                $failed.Add($names[$number - 1])
                Add-Line ("    " + ($run.Text -replace "`r?`n", "`r`n    "))
            }
        }
        "$(Split-Path $program -Leaf): $($names.Count) cases, $($failed.Count) failed"
        foreach ($name in $failed) { "failed: $name" }
        $failures += $failed.Count
    }
    Assert-That ($failures -eq 0) "$failures cases failed"
}

# Plays scenarios with the programs of a folder, and compares what a person saw with the transcripts.
function Test-Scenarios([string] $Bin, [string[]] $Names) {
    $screen = Join-Path $Bin 'KelvorSimLogonUi.exe'
    $run = Invoke-Program $screen @('--register', (Join-Path $Bin $moduleName))
    Assert-That ($run.Code -eq 0) "it cannot be registered: $($run.Text)"
    $different = 0
    $seen = Join-Path $PSScriptRoot 'seen.txt'
    foreach ($name in $Names) {
        if (Test-Path $seen) { Remove-Item $seen }
        $run = Invoke-Program $screen @('--with-service', '--script',
            (Join-Path $tree "simulator\scenarios\$name.scenario"), '--transcript', $seen) 180
        $before = [IO.File]::ReadAllText((Join-Path $tree "docs\transcripts\$name.txt")).Replace("`r", '')
        $same = $run.Code -eq 0 -and (Test-Path $seen) -and [IO.File]::ReadAllText($seen).Replace("`r", '') -ceq $before
        if (-not $same) {
            $different++
            "different: $name (exit status $($run.Code))"
            if (Test-Path $seen) { Copy-Item $seen (Join-Path $PSScriptRoot "seen-$name.txt") -Force }
        }
    }
    foreach ($key in $registrations) { Remove-Item $key -Recurse -Force }
    "$($Names.Count) scenarios, $different different from the transcripts"
    Assert-That ($different -eq 0) "what was seen instead lies in seen-NAME.txt beside this report"
}

function Test-EveryScenario {
    $names = Get-ChildItem (Join-Path $tree 'simulator\scenarios') -Filter *.scenario |
        ForEach-Object { $_.BaseName }
    Test-Scenarios (Join-Path $tree 'build\mingw\bin') $names
    Assert-That (Test-Path $logFile) "no log was written: $logFile"
    "the log has $((Get-Content $logFile).Count) lines"
}

function Install-Product {
    $script:package = (Get-Item (Join-Path $PSScriptRoot '*.msi')).FullName
    Add-Undo 'the installation' {
        if (Test-Path $registrations[0]) { Invoke-Installer "/x `"$script:package`"" }
    }
    $code = Invoke-Installer "/i `"$script:package`" ENABLED=1 FIDOGATE=1 FIDOSERVERURL=https://signin.corp.example"
    "installed, exit status $code"
    foreach ($key in $registrations) { Assert-That (Test-Path $key) "not registered: $key" }
    Test-Image (Join-Path $env:SystemRoot "System32\$moduleName") $false
    $settings = Get-ItemProperty 'HKLM:\SOFTWARE\KelvorDirectoryFidoLogon\SmartCard'
    Assert-That ($settings.Enabled -eq 1 -and $settings.FidoServerUrl -eq 'https://signin.corp.example') 'the settings are others'
    foreach ($folder in $dataFolder, (Join-Path $dataFolder 'Logs')) {
        $sddl = (Get-Acl $folder).Sddl
        "${folder}: $sddl"
        Assert-That ($sddl -match '^O:BAG:.*D:P(AI)?\(A;OICI;FA;;;SY\)\(A;OICI;FA;;;BA\)$') "the rights of $folder are others"
    }
    $tool = Join-Path $env:ProgramFiles 'Kelvor\FidoAdLogon\KelvorFidoAdLogonAdmin.exe'
    $run = Invoke-Program $tool @('check')
    Assert-That ($run.Code -in 0, 1, 3) "the tool ended with $($run.Code)"
    'KelvorFidoAdLogonAdmin check:'
    foreach ($line in $run.Text -split "`r?`n") { "    $line" }
}

# The tool connects with the module's own code; the server of a pipe sees how much it is lent.
function Measure-Impersonation {
    if (Test-Pipe) { throw 'skip: the card service runs' }
    $client = $null
    $server = New-Object IO.Pipes.NamedPipeServerStream($pipeName, [IO.Pipes.PipeDirection]::InOut, 1,
        [IO.Pipes.PipeTransmissionMode]::Byte, [IO.Pipes.PipeOptions]::Asynchronous)
    $tool = Join-Path $env:ProgramFiles 'Kelvor\FidoAdLogon\KelvorFidoAdLogonAdmin.exe'
    try {
        $client = Start-Process $tool -ArgumentList 'check' -PassThru -WindowStyle Hidden
        Assert-That ($server.WaitForConnectionAsync().Wait(20000)) 'nobody connected'
        while ($server.ReadByte() -notin 10, -1) { }
        $script:level = $null
        $server.RunAsClient({
            $script:level = [Security.Principal.WindowsIdentity]::GetCurrent().ImpersonationLevel
        })
        "the server of the pipe may act as its client at the level: $script:level"
    } finally {
        $server.Dispose()
        if ($client -and -not $client.HasExited) { $client.Kill() }
    }
}

# Whoever has the name first keeps it: the service's part, where there is one.
function Test-FirstInstance {
    if (-not (Test-Pipe)) { throw 'skip: no card service runs' }
    try {
        $second = New-Object IO.Pipes.NamedPipeServerStream($pipeName, [IO.Pipes.PipeDirection]::InOut, 254)
    } catch {
        return "a second server is refused: $($_.Exception.Message)"
    }
    $second.Dispose()
    throw 'an administrator could serve the pipe beside the service'
}

# ERROR_INSTALL_FAILURE, and the older version is there as before.
function Test-FailedUpgrade {
    $damaged = Join-Path $PSScriptRoot 'damaged\newer.msi'
    "ended with $(Invoke-Installer "/i `"$damaged`"" @(1603))"
    foreach ($key in $registrations) { Assert-That (Test-Path $key) "not put back: $key" }
    Test-Image (Join-Path $env:SystemRoot "System32\$moduleName") $false
    $tool = Join-Path $env:ProgramFiles 'Kelvor\FidoAdLogon\KelvorFidoAdLogonAdmin.exe'
    Assert-That (Test-Path $tool) "not put back: $tool"
}

function Remove-Product {
    "removed, exit status $(Invoke-Installer "/x `"$script:package`"")"
    foreach ($key in $registrations) { Assert-That (-not (Test-Path $key)) "left behind: $key" }
    Assert-That (-not (Test-Path (Join-Path $env:SystemRoot "System32\$moduleName"))) 'the module is left behind'
    Assert-That (Test-Path 'HKLM:\SOFTWARE\KelvorDirectoryFidoLogon\SmartCard') 'the settings are gone'
    Assert-That (Test-Path $dataFolder) 'the folder of the log is gone'
}

# --- What a person sees -----------------------------------------------------------------------------

function Invoke-ByHand($Step) {
    if (-not $Attended) {
        Add-Line "- [ ] **$($Step.title)**: $($Step.do) Expected: $($Step.expect)"
        return
    }
    Write-Host ''
    Write-Host "== $($Step.title)"
    Write-Host "   do:       $($Step.do)"
    Write-Host "   expected: $($Step.expect)"
    do { $answer = Read-Host '   as expected (y), not (n), left out (s)' } until ($answer -in 'y', 'n', 's')
    $note = Read-Host '   what was seen, in a few words'
    if ($answer -eq 'n') { $script:failures++ }
    $result = @{ y = 'as expected'; n = '**NOT as expected**'; s = 'left out' }[$answer]
    Add-Line "- $($Step.title): $result. $note"
}

# --- The run ----------------------------------------------------------------------------------------

$identity = New-Object Security.Principal.WindowsPrincipal([Security.Principal.WindowsIdentity]::GetCurrent())
if (-not $identity.IsInRole([Security.Principal.WindowsBuiltInRole]::Administrator)) {
    [Console]::Error.WriteLine('verify.ps1: run it as an administrator')
    exit 2
}
$kitFile = Join-Path $PSScriptRoot 'kit.json'
if (-not (Test-Path $kitFile)) {
    [Console]::Error.WriteLine('verify.ps1: it is part of a kit, and kit.json is not beside it; ./run kit makes one')
    exit 2
}
$kit = Get-Content $kitFile -Raw -Encoding UTF8 | ConvertFrom-Json
$tree = 'Z:' + $kit.tree.Replace('/', '\')

Add-Line '# What was seen on Windows'
try {
    Invoke-Step 'This PC' { Get-Facts }
    if ($script:failures -eq 0) {
        Invoke-Step 'Its state is set aside' { Save-State }
        Invoke-Step 'The kit' { Mount-Kit }
    }
    if ($script:failures -eq 0) {
        Invoke-Step 'The module as it is shipped' { Test-Image (Join-Path $tree "build\mingw\bin\$moduleName") $false }
        Invoke-Step 'Built with Visual Studio' { Build-WithVisualStudio }
        Invoke-Step 'The tests, natively' { Test-Programs }
        Invoke-Step 'Every scenario, natively' { Test-EveryScenario }
        Invoke-Step 'Installed' { Install-Product }
        Invoke-Step 'What the pipe lends its server' { Measure-Impersonation }
        Invoke-Step 'The first instance of the pipe' { Test-FirstInstance }
        Add-Line ''
        Add-Line '## By hand'
        foreach ($step in $kit.byHand) { Invoke-ByHand $step }
        Invoke-Step 'A newer version that fails' { Test-FailedUpgrade }
        Invoke-Step 'Removed' { Remove-Product }
    }
} finally {
    Undo-All
    Add-Line ''
    Add-Line "**$script:failures failed**"
}
exit $(if ($script:failures -eq 0) { 0 } else { 1 })
