// Prints the luminance of one level of a panel, and the level that a curve gives for this luminance.
use std::ffi::{c_void, CStr, CString};
use std::os::raw::c_char;
use std::ptr;

// The part of backlight_nits.h that this program uses. The handles are opaque.
#[link(name = "backlight_nits_c")]
extern "C" {
    fn bln_last_error() -> *const c_char;
    fn bln_panel_open_file(context: *const c_void, path: *const c_char, panel: *mut *mut c_void) -> i32;
    fn bln_panel_free(panel: *mut c_void);
    fn bln_panel_nits(panel: *const c_void, level: u32, coverage: u32, mode: i32, nits: *mut f64) -> i32;
    fn bln_curve_create(panel: *const c_void, coverage: u32, mode: i32, curve: *mut *mut c_void) -> i32;
    fn bln_curve_free(curve: *mut c_void);
    fn bln_curve_levels(curve: *const c_void, nits: *const f64, count: usize, levels: *mut u32) -> i32;
}
const BLN_OK: i32 = 0;
const BLN_STANDARD: i32 = 0;

fn checked(status: i32) -> Result<(), String> {
    if status == BLN_OK {
        return Ok(());
    }
    // The text is valid until the next call on this thread, so it is copied at once.
    Err(unsafe { CStr::from_ptr(bln_last_error()) }.to_string_lossy().into_owned())
}

struct Panel(*mut c_void);

// Any thread may use a panel, also several at the same time.
unsafe impl Send for Panel {}
unsafe impl Sync for Panel {}

impl Panel {
    fn open(path: &str) -> Result<Panel, String> {
        let path = CString::new(path).map_err(|error| error.to_string())?;
        let mut panel = ptr::null_mut();
        checked(unsafe { bln_panel_open_file(ptr::null(), path.as_ptr(), &mut panel) })?;
        Ok(Panel(panel))
    }

    fn nits(&self, level: u32, coverage: u32) -> Result<f64, String> {
        let mut nits = 0.0;
        checked(unsafe { bln_panel_nits(self.0, level, coverage, BLN_STANDARD, &mut nits) })?;
        Ok(nits)
    }

    fn curve(&self, coverage: u32) -> Result<Curve, String> {
        let mut curve = ptr::null_mut();
        checked(unsafe { bln_curve_create(self.0, coverage, BLN_STANDARD, &mut curve) })?;
        Ok(Curve(curve))
    }
}

impl Drop for Panel {
    fn drop(&mut self) {
        unsafe { bln_panel_free(self.0) }
    }
}

// It has no lifetime of the panel: a curve may outlive it.
struct Curve(*mut c_void);

// A curve never changes.
unsafe impl Send for Curve {}
unsafe impl Sync for Curve {}

impl Curve {
    fn levels(&self, nits: &[f64]) -> Result<Vec<u32>, String> {
        let mut levels = vec![0; nits.len()];
        checked(unsafe { bln_curve_levels(self.0, nits.as_ptr(), nits.len(), levels.as_mut_ptr()) })?;
        Ok(levels)
    }
}

impl Drop for Curve {
    fn drop(&mut self) {
        unsafe { bln_curve_free(self.0) }
    }
}

fn main() -> Result<(), String> {
    let panel = Panel::open("backlight_calib_oled_phone.xml")?;
    let nits = panel.nits(120, 55)?;
    let back = panel.curve(55)?.levels(&[nits])?;
    println!("level 120 at 55 %: {:.3} nits; by curve: level {}", nits, back[0]);
    if let Err(reason) = panel.nits(300, 55) {
        println!("{}", reason);
    }
    Ok(())
}
